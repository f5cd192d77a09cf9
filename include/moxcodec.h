/* libmoxcodec: whole streams of coded audio, as they come.
 *
 * C99 and C++. A decoder is fed bytes in pieces of any size, or reads them itself, finds out what they are, and gives
 * interleaved samples. The same stream gives the same samples, to the bit, however its bytes are cut up.
 *
 * Every object is independent of all others; one object is used by one thread at a time. Nothing is global, no thread
 * is started, nothing is printed. Input, frames and samples are held in memory of the object's allocator, of which none
 * is asked for any more once the stream's first second has been read, but where the format changes or a tag comes. What
 * the AAC tools, spectral band replication and the containers keep comes from the C++ heap and from moxMalloc. None of
 * it grows with the length of the input, but an MP4 file's index of packets.
 *
 * Statuses: 0 is success; positive ones say what stands in front of the next sample, and are no errors; negative ones
 * are errors. Every function checks its pointers first, and with a negative status writes nothing unless its comment
 * says otherwise.
 */
#ifndef MOXCODEC_H
#define MOXCODEC_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define MOXC_API __attribute__((visibility("default")))
#else
#define MOXC_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t moxcStatus;

enum {
  moxcStatusOk = 0,
  moxcStatusNeedMore = 1, /* feed more bytes, or say that there are no more */
  moxcStatusFormat = 2,   /* the samples that come next have another format: moxcDecoderGetFormat tells it */
  moxcStatusEnd = 3,      /* all was handed out */

  moxcStatusNullPointer = -1, /* a required pointer is null */
  moxcStatusBadArgument = -2, /* an argument outside its allowed set */
  moxcStatusWrongState = -3, /* this decoder does not do that: feeding one that reads for itself, and so on */
  moxcStatusNoMemory = -4, /* the allocator returned null; of the object only moxcDecoderFree may be called */
  moxcStatusNoStream =
      -5, /* the input holds nothing that can be decoded; moxcDecoderGetMessage says what it is */
  moxcStatusUnsupported = -6, /* a stream of a kind that is not decoded; moxcDecoderGetMessage names it */
  moxcStatusReadFailed = -7,  /* the read or seek callback, or the file, failed */
  moxcStatusCannotSeek = -8   /* the input cannot seek */
};

/* A fixed text for a status, such as "out of memory"; never null. */
MOXC_API const char* moxcStatusText(moxcStatus status);

/* Where an object's memory comes from. `allocate` returns null when there is no more, else memory aligned for any C
 * type; both must be there. The record is copied. */
typedef struct MoxcAllocator {
  void* (*allocate)(void* user, size_t bytes);
  void (*release)(void* user, void* memory);
  void* user;
} MoxcAllocator;

/* ---- Decoder ---------------------------------------------------------------------------------------------------- */

typedef struct MoxcDecoder MoxcDecoder;

typedef enum MoxcCodec {
  moxcCodecFind =
      0, /* find out: MPEG audio Layer III, AAC in ADTS, ADIF, LATM or MP4, either in MPEG transport and
                            program streams; tags around them */
  moxcCodecMp3Frame = 1, /* single frames of MPEG audio Layer III, by moxcDecoderFeedPacket */
  moxcCodecAacBlock =
      2 /* single raw data blocks of AAC, by moxcDecoderFeedPacket; `specificConfig` describes them */
} MoxcCodec;

/* All zero is a good choice. */
typedef struct MoxcDecoderOptions {
  const MoxcAllocator* allocator; /* null: malloc and free */
  int32_t floatSamples;           /* 0: 16-bit samples; 1: 32-bit float, full scale 1 */
  int32_t raw;                    /* 1: keep the delay and padding that encoders put around the sound */
  MoxcCodec codec;
  const uint8_t*
      specificConfig; /* of moxcCodecAacBlock: AudioSpecificConfig, as MP4 and RTP carry it; copied */
  size_t specificConfigBytes;
} MoxcDecoderOptions;

typedef struct MoxcFormat {
  int32_t rate;         /* Hz */
  int32_t channels;     /* 1..8 */
  uint32_t channelMask; /* speakers as WAVE_FORMAT_EXTENSIBLE numbers them, samples in the order of its bits;
                           0: mono, stereo, or speakers that are not known */
} MoxcFormat;

/* How a decoder reads for itself. */
typedef struct MoxcInput {
  /* Puts up to `bytes` bytes to `to` and returns how many; 0 at the end, negative when reading failed. */
  int64_t (*read)(void* user, uint8_t* to, size_t bytes);
  /* Goes to a byte, counted from the start; 0, or negative when that failed. Null: the input cannot seek. */
  int32_t (*seek)(void* user, int64_t position);
  int64_t size; /* of the input in bytes; negative: not known. Needed for seeking */
  void* user;
} MoxcInput;

/* Makes a decoder that is fed. `options` may be null.
 *
 * moxcStatusOk
 * moxcStatusNullPointer  ppDecoder
 * moxcStatusBadArgument  an option outside its set, an allocator that lacks a function, or no specificConfig
 * moxcStatusNoMemory     *ppDecoder is null
 * moxcStatusUnsupported  specificConfig describes what is not decoded; *ppDecoder is null
 */
MOXC_API moxcStatus moxcDecoderCreate(MoxcDecoder** ppDecoder, const MoxcDecoderOptions* options);

/* Makes a decoder that reads for itself, and reads as far as the first frame: the format is known then. With a decoder
 * that reads, moxcStatusNeedMore never comes.
 *
 * moxcStatusOk
 * moxcStatusNullPointer    ppDecoder, input, or its read callback; a file's name
 * moxcStatusBadArgument    as for moxcDecoderCreate, or a codec that takes packets
 * moxcStatusNoMemory, moxcStatusReadFailed   *ppDecoder is null; of a file, errno says why
 * moxcStatusNoStream, moxcStatusUnsupported  *ppDecoder is a decoder that only tells its message and is to be freed
 */
MOXC_API moxcStatus moxcDecoderOpen(MoxcDecoder** ppDecoder, const MoxcInput* input,
                                    const MoxcDecoderOptions* options);
MOXC_API moxcStatus moxcDecoderOpenFile(MoxcDecoder** ppDecoder, const char* name,
                                        const MoxcDecoderOptions* options);

/* Releases everything; null is allowed. */
MOXC_API void moxcDecoderFree(MoxcDecoder* decoder);

/* Takes bytes of the input, any number. A decoder holds what its longest frame needs and no more, so that it may take
 * only the first of them: *pTaken tells how many; the rest is to be fed again after reading. After moxcStatusNeedMore at
 * least one byte is taken.
 *
 * moxcStatusOk
 * moxcStatusNullPointer  decoder, pTaken; bytes where count is not 0
 * moxcStatusWrongState   the decoder reads for itself, takes packets, or was told the end
 * moxcStatusNoMemory
 */
MOXC_API moxcStatus moxcDecoderFeed(MoxcDecoder* decoder, const uint8_t* bytes, size_t count, size_t* pTaken);

/* Takes one packet: a whole frame or block, to be read before the next one. Null bytes stand for a packet that was
 * lost: a frame is made up for it.
 *
 * moxcStatusOk
 * moxcStatusNullPointer  decoder
 * moxcStatusWrongState   the decoder takes no packets, the one before is not read, or the end was told
 * moxcStatusNoMemory
 */
MOXC_API moxcStatus moxcDecoderFeedPacket(MoxcDecoder* decoder, const uint8_t* bytes, size_t count);

/* Says that no more will be fed.
 *
 * moxcStatusOk
 * moxcStatusNullPointer
 * moxcStatusWrongState  the decoder reads for itself
 */
MOXC_API moxcStatus moxcDecoderEnd(MoxcDecoder* decoder);

/* Forgets what was fed and not read, and everything that later frames would build on: what is fed next comes from
 * another place, or another stream. Position and counters begin anew.
 *
 * moxcStatusOk
 * moxcStatusNullPointer
 * moxcStatusWrongState  the decoder reads for itself
 * moxcStatusNoMemory
 */
MOXC_API moxcStatus moxcDecoderFlush(MoxcDecoder* decoder);

/* Reads up to `frames` samples of each channel, interleaved; *pFrames tells how many there are, which are fewer only
 * when something stands in front of the rest: the next call says what. A sample can be read once its frame, the bit
 * reservoir that it reaches back into, and the header of the frame behind have come. The delay from bytes to samples is
 * one frame and that header; where the encoder told its padding, up to 4096 samples near the announced end are held
 * back until it is known whether they are padding.
 *
 * The format is told by moxcStatusFormat before the first sample, and wherever it changes.
 *
 * moxcStatusOk           *pFrames is above 0, or `frames` is 0
 * moxcStatusNeedMore, moxcStatusFormat, moxcStatusEnd   *pFrames is 0
 * moxcStatusNullPointer  decoder, samples, pFrames
 * moxcStatusBadArgument  the decoder gives samples of the other type
 * moxcStatusNoStream, moxcStatusUnsupported, moxcStatusReadFailed, moxcStatusNoMemory   *pFrames is 0; the same from
 *                        now on
 */
MOXC_API moxcStatus moxcDecoderRead_16s(MoxcDecoder* decoder, int16_t* samples, size_t frames,
                                        size_t* pFrames);
MOXC_API moxcStatus moxcDecoderRead_32f(MoxcDecoder* decoder, float* samples, size_t frames, size_t* pFrames);

/* The format that moxcStatusFormat announced last; after moxcDecoderOpen that of the first sample.
 *
 * moxcStatusOk
 * moxcStatusNullPointer
 * moxcStatusWrongState  none was announced yet
 */
MOXC_API moxcStatus moxcDecoderGetFormat(const MoxcDecoder* decoder, MoxcFormat* pFormat);

/* How many samples of each channel were read from the start of the sound: the position of the next. */
MOXC_API moxcStatus moxcDecoderGetPosition(const MoxcDecoder* decoder, int64_t* pPosition);

typedef enum MoxcDuration {
  moxcDurationUnknown = 0,
  moxcDurationEstimated = 1, /* from the size of the input and the bit rate so far */
  moxcDurationTold = 2,      /* as the encoder counted */
  moxcDurationExact = 3      /* counted by moxcDecoderScan, or the end was reached */
} MoxcDuration;

/* How long the sound is, in samples of each channel; 0 when that is unknown. */
MOXC_API moxcStatus moxcDecoderGetDuration(const MoxcDecoder* decoder, int64_t* pDuration,
                                           MoxcDuration* pKind);

/* Goes to a sample: what is read next is equal to the bit to what would be read there from the start. Positions beyond
 * the end go to the end. What lies in between is decoded and passed over: from here on, or, backwards, from the start.
 *
 * moxcStatusOk
 * moxcStatusNullPointer
 * moxcStatusBadArgument  position below 0
 * moxcStatusCannotSeek   the decoder is fed, or its input cannot seek
 * moxcStatusReadFailed, moxcStatusNoMemory
 */
MOXC_API moxcStatus moxcDecoderSeek(MoxcDecoder* decoder, int64_t position);

/* Walks over the whole input without making samples: the duration is exact then, and the texts are about everything.
 * Leaves the decoder at its end, from where moxcDecoderSeek leads back where the input can seek.
 *
 * moxcStatusOk
 * moxcStatusNullPointer
 * moxcStatusWrongState  the decoder is fed
 * moxcStatusNoStream, moxcStatusUnsupported, moxcStatusReadFailed, moxcStatusNoMemory
 */
MOXC_API moxcStatus moxcDecoderScan(MoxcDecoder* decoder);

typedef struct MoxcStats {
  int64_t frames;       /* decoded, made up ones included */
  int64_t concealed;    /* of these, replaced wholly or in part */
  int64_t skippedBytes; /* between frames, that belong to no frame */
  int64_t bytes;        /* of the input that were taken */
  int32_t formats;      /* how many formats were met */
  int32_t mostChannels; /* of all of them */
  int32_t damaged;      /* 1: something was damaged or missing; the texts say what */
} MoxcStats;

/* What was met so far. */
MOXC_API moxcStatus moxcDecoderGetStats(MoxcDecoder* decoder, MoxcStats* pStats);

typedef enum MoxcTexts {
  moxcTextDescription = 0, /* "format", "bit rate", "duration", ... and their values */
  moxcTextTag = 1,         /* "title", "artist", ...; "tag" for each kind of tag, such as "ID3v2.3" */
  moxcTextDamage = 2,      /* what was damaged or missing; the name is empty */
  moxcTextNotice = 3       /* what is sound but left out; the name is empty */
} MoxcTexts;

/* The lines of text of a kind, one after the other; both are UTF-8 without control characters, and valid until the next
 * call for the decoder. Line 0 gathers them: ask for that first.
 *
 * moxcStatusOk
 * moxcStatusEnd          there are fewer lines; both are null
 * moxcStatusNullPointer
 * moxcStatusBadArgument  kind; an index below 0
 * moxcStatusNoMemory
 */
MOXC_API moxcStatus moxcDecoderGetText(MoxcDecoder* decoder, MoxcTexts kind, int32_t index,
                                       const char** pName, const char** pText);

/* Why the input cannot be decoded: "is a FLAC file, which is not decoded". Empty when nothing is wrong; valid as long as
 * the decoder. */
MOXC_API const char* moxcDecoderGetMessage(const MoxcDecoder* decoder);

typedef enum MoxcEventKind {
  moxcEventFormat = 1,    /* the format changed; `count` channels */
  moxcEventConcealed = 2, /* a frame was damaged or missing and is made up for; `count` samples */
  moxcEventSkipped = 3,   /* `count` bytes belong to no frame */
  moxcEventTag = 4,       /* a tag was read; `count` fields are known now */
  moxcEventPart = 5       /* another stream begins, as where files were joined */
} MoxcEventKind;

typedef struct MoxcEvent {
  MoxcEventKind kind;
  int64_t position; /* in samples: in front of this one it happened */
  int64_t byte;     /* of the input, about */
  int64_t count;
} MoxcEvent;

/* The next thing that happened, in order; only with samples at or behind the position are still to come. The last 64
 * are kept, older ones are dropped.
 *
 * moxcStatusOk
 * moxcStatusEnd          none
 * moxcStatusNullPointer
 */
MOXC_API moxcStatus moxcDecoderNextEvent(MoxcDecoder* decoder, MoxcEvent* pEvent);

#ifdef __cplusplus
}
#endif

#endif /* MOXCODEC_H */
