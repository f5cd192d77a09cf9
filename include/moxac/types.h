/* Types and status codes shared by every family of moxac.
 *
 * C99 and C++. All integers have fixed width; records are plain structs of naturally aligned fields.
 */
#ifndef MOXAC_TYPES_H
#define MOXAC_TYPES_H

#include <stdint.h>

#if defined(__GNUC__)
#define MOXAC_API __attribute__((visibility("default")))
#else
#define MOXAC_API
#endif

#ifdef __cplusplus
#define MOXAC_EXTERN_C_BEGIN extern "C" {
#define MOXAC_EXTERN_C_END }
#else
#define MOXAC_EXTERN_C_BEGIN
#define MOXAC_EXTERN_C_END
#endif

/* Result of every operation but the version query: 0 is success, negative an error (nothing was written
 * unless the operation's comment says otherwise), positive a warning (the results are complete). */
typedef int32_t moxStatus;

enum {
  moxStatusOk = 0,
  moxStatusMisalignedData = 2, /* warning: complete, but some array was not 16-byte aligned */

  moxStatusBadData = -2,          /* the input breaks a limit of the coded format */
  moxStatusOutOfRange = -5,       /* an integer argument outside its allowed set */
  moxStatusBadSize = -6,          /* a length or size below 1 or above the operation's maximum */
  moxStatusNullPointer = -8,      /* a required pointer is null */
  moxStatusOutOfMemory = -9,      /* moxMalloc returned null */
  moxStatusFdpStepError = -14,    /* frequency-domain prediction: reset step below 1 */
  moxStatusBadFftOrder = -15,     /* transform order out of range */
  moxStatusBadFftFlag = -16,      /* transform scaling flag not 1, 2, 4 or 8 */
  moxStatusContextMismatch = -17, /* the context's identifier is another family's, or cleared */
  moxStatusFirLengthError = -26,  /* block FIR: tap count, block length or delay index out of range */
  moxStatusBadChannelCount = -53, /* interleave and deinterleave: channel count below 1 */

  moxStatusVlcError = -127,        /* VLC: escape prefix above 12 ones, no rows, offset, mismatch, no code */
  moxStatusVlcBadTable = -129,     /* VLC: bad code length, bad sub-table list, prefix conflict */
  moxStatusVlcBadBitOffset = -193, /* VLC escape operations: bit offset outside 0..7 */

  moxStatusAacAotError = -136,          /* audio object type above 16 */
  moxStatusAacLayerFlagError = -137,    /* layerFlag not 0 or 1 */
  moxStatusAacDiffCtrlFlagError = -138, /* diffCtrlFlag not 0 or 1 */
  moxStatusAacStereoFlagError = -139,   /* stereoFlag not 0 or 1 */
  moxStatusAacTnsFlagError = -140,      /* tnsFlag (main header: layerFlag) not 0 or 1 */
  moxStatusAacChanError = -141,         /* number of channels not 1 or 2 */
  moxStatusAacMsMaskError = -142,       /* msMaskPresent not 1 or 2 */
  moxStatusAacCommonWindowError = -143, /* commonWindow not 0 or 1 */
  moxStatusAacWinSeqError = -144,       /* windowSequence not 0..3 */
  moxStatusAacWinGrpError = -145,       /* window-group count inconsistent with the window length */
  moxStatusAacWinLenError = -146,       /* window length not 128 or 1024 */
  moxStatusAacSampleRateError = -147,   /* samplingRateIndex not 0..11 */
  moxStatusBitOffsetError = -149,       /* AAC parsers: bit offset outside 0..7 */
  moxStatusAacTnsModeError = -151,      /* TNS encoder: mode not 1 */
  moxStatusAacTnsDirectionError = -152, /* TNS direction not 0 or 1 */
  moxStatusAacTnsCoefError = -153,      /* TNS coefficient outside -8..7 */
  moxStatusAacTnsCoefResError = -154,   /* TNS coefficient resolution not 3 or 4 */
  moxStatusAacTnsOrderError = -155,     /* TNS order above 12 (long) or 7 (short), or negative */
  moxStatusAacTnsLengthError = -156,    /* TNS length negative or above the bands left */
  moxStatusAacTnsNumFiltError = -157,   /* TNS filter count above 3 (long) or 1 (short), or negative */
  moxStatusAacSectionError = -158,      /* section ends do not reach maxSfb exactly */
  moxStatusAacGainControlError = -159,  /* gain control data present */
  moxStatusAacPulseError = -160,        /* pulse data with short windows or outside the spectrum */
  moxStatusAacPredSfbError = -161,      /* predSfbMax outside its range */
  moxStatusAacMaxSfbError = -162,       /* maxSfb (or a band limit) outside its range */
  moxStatusAacEscapeError = -163,       /* escape prefix too long, or a magnitude above 8191 */
  moxStatusAacScaleFactorError = -164,  /* scale factor or noise energy above 255 */
  moxStatusAacCodebookError = -166,     /* reserved code book 12, or 13 in the LC decoder */
  moxStatusAacPrgNumError = -167,       /* number of program configuration elements */
  moxStatusAacUnsupported = -9999,      /* main header parsed with layerFlag 1 */

  moxStatusMp3SideInfoErr = -170,   /* MP3 side information out of range */
  moxStatusMp3FrameHeaderErr = -171 /* MP3 frame header out of range */
};

/* Complex samples: real part first. */
typedef struct Mox32fc {
  float re;
  float im;
} Mox32fc;

typedef struct Mox32sc {
  int32_t re;
  int32_t im;
} Mox32sc;

/* What moxacGetLibVersion returns; constant for the life of the process. */
typedef struct moxLibVersion {
  int32_t majorVersion;
  int32_t minorVersion;
  int32_t updateNumber;
  int32_t revision;
  char cpuCode[4]; /* the kernels' target, "e9" (AVX), padded with zero bytes */
  const char* libraryName;
  const char* versionText;
  const char* buildDate;
} moxLibVersion;

MOXAC_EXTERN_C_BEGIN

/* Returns the library's version record: the same pointer on every call, never null. The caller neither
 * frees nor modifies it. Any number of threads may call it at once. */
MOXAC_API const moxLibVersion* moxacGetLibVersion(void);

MOXAC_EXTERN_C_END

#endif
