/* moxac, variable-length codes of the caller's own code books: decoding, encoding, bit counting. */
#ifndef MOXAC_VLC_H
#define MOXAC_VLC_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

MOXAC_EXTERN_C_END

#endif
