/* moxac, vector conversion, power laws, block FIR, vector quantisation. */
#ifndef MOXAC_UTIL_H
#define MOXAC_UTIL_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

MOXAC_EXTERN_C_END

#endif
