/* moxac, MPEG-1 and MPEG-2 Layer III: parsing, decoding and encoding stages. */
#ifndef MOXAC_MP3_H
#define MOXAC_MP3_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

MOXAC_EXTERN_C_END

#endif
