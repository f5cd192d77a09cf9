/* moxac, AAC: headers, syntax elements, noiseless decoding, spectral tools, prediction, MDCT. */
#ifndef MOXAC_AAC_H
#define MOXAC_AAC_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

MOXAC_EXTERN_C_END

#endif
