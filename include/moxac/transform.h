/* moxac, MDCT and the DTS synthesis bank. */
#ifndef MOXAC_TRANSFORM_H
#define MOXAC_TRANSFORM_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

MOXAC_EXTERN_C_END

#endif
