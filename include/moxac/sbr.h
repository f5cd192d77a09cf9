/* moxac, spectral band replication: QMF banks, prediction coefficients, encoder tools, hybrid analysis. */
#ifndef MOXAC_SBR_H
#define MOXAC_SBR_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

MOXAC_EXTERN_C_END

#endif
