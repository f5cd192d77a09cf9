// The C interface: arguments are checked, memory comes from the object's allocator, and no exception leaves.
#include "moxcodec.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "codec/decoder.h"

#define MOXC_REQUIRE(condition, status) \
  if (!(condition)) return status

struct MoxcDecoder : moxc::Allocated {
  explicit MoxcDecoder(const moxc::Allocator& from) : allocator(from) {}

  moxc::Allocator allocator;
  int file = -1;  // that it reads itself
  std::unique_ptr<moxc::Decoder> decoder;
  bool failed = false;  // memory ran out
  moxc::TextLines texts;
};

namespace {

using moxc::AllocationScope;
using moxc::Bytes;

moxc::Allocator allocatorOf(const MoxcDecoderOptions* options) {
  if (options == nullptr || options->allocator == nullptr) return {nullptr, nullptr, nullptr};
  return {options->allocator->allocate, options->allocator->release, options->allocator->user};
}

bool usable(const MoxcDecoderOptions* options, bool reads) {
  if (options == nullptr) return true;
  const MoxcAllocator* const allocator = options->allocator;
  if (allocator != nullptr && (allocator->allocate == nullptr || allocator->release == nullptr)) return false;
  if ((options->floatSamples | options->raw | 1) != 1) return false;
  switch (options->codec) {
    case moxcCodecFind:
      return true;
    case moxcCodecMp3Frame:
      return !reads;
    case moxcCodecAacBlock:
      return !reads && options->specificConfig != nullptr && options->specificConfigBytes > 0 &&
             options->specificConfigBytes <= 4096;
    default:
      return false;
  }
}

// Runs what may ask for memory.
template <class Work>
moxcStatus guarded(MoxcDecoder& object, Work work) {
  if (object.failed) return moxcStatusNoMemory;
  const AllocationScope scope(object.allocator);
  try {
    return work(*object.decoder);
  } catch (
      const std::exception&) {  // nothing but std::bad_alloc is thrown, or what a too long vector makes of it
    object.failed = true;
    return moxcStatusNoMemory;
  }
}

moxcStatus create(MoxcDecoder** ppDecoder, const MoxcInput* input, int file,
                  const MoxcDecoderOptions* options) {
  const moxc::Allocator allocator = allocatorOf(options);
  const AllocationScope scope(allocator);
  std::unique_ptr<MoxcDecoder> made;
  try {
    made = std::make_unique<MoxcDecoder>(allocator);
    moxc::Decoder::Settings settings;
    if (options != nullptr) {
      settings.decode.floatSamples = options->floatSamples != 0;
      settings.raw = options->raw != 0;
      settings.codec = options->codec;
      if (options->codec == moxcCodecAacBlock)
        settings.specificConfig.assign(options->specificConfig,
                                       options->specificConfig + options->specificConfigBytes);
    }
    made->decoder = std::make_unique<moxc::Decoder>(std::move(settings), input);
    const moxcStatus status = made->decoder->start();
    const bool refused = status == moxcStatusNoStream || status == moxcStatusUnsupported;
    if (status < moxcStatusOk && (!refused || input == nullptr)) return status;
    made->file = file;
    *ppDecoder = made.release();
    return status == moxcStatusNeedMore ? moxcStatusOk : status;
  } catch (const std::exception&) {
    return moxcStatusNoMemory;
  }
}

moxcStatus readSamples(MoxcDecoder* decoder, void* samples, size_t frames, size_t* pFrames,
                       bool floatSamples) {
  MOXC_REQUIRE(decoder != nullptr && samples != nullptr && pFrames != nullptr, moxcStatusNullPointer);
  *pFrames = 0;
  if (decoder->failed) return moxcStatusNoMemory;
  MOXC_REQUIRE(decoder->decoder->floatSamples() == floatSamples, moxcStatusBadArgument);
  return guarded(*decoder, [&](moxc::Decoder& d) { return d.read(samples, frames, *pFrames); });
}

int descriptorOf(void* user) { return static_cast<int>(reinterpret_cast<intptr_t>(user)); }

int64_t readFile(void* user, uint8_t* to, size_t bytes) {
  for (;;) {
    const ssize_t got = read(descriptorOf(user), to, bytes);
    if (got >= 0 || errno != EINTR) return got;
  }
}

int32_t seekFile(void* user, int64_t position) {
  return lseek(descriptorOf(user), static_cast<off_t>(position), SEEK_SET) < 0 ? -1 : 0;
}

}  // namespace

const char* moxcStatusText(moxcStatus status) {
  switch (status) {
    case moxcStatusOk:
      return "success";
    case moxcStatusNeedMore:
      return "more input is needed";
    case moxcStatusFormat:
      return "the format changes";
    case moxcStatusEnd:
      return "the end is reached";
    case moxcStatusNullPointer:
      return "a required pointer is null";
    case moxcStatusBadArgument:
      return "an argument is outside its allowed set";
    case moxcStatusWrongState:
      return "the object does not do that now";
    case moxcStatusNoMemory:
      return "out of memory";
    case moxcStatusNoStream:
      return "no stream that can be decoded";
    case moxcStatusUnsupported:
      return "a kind of stream that is not decoded";
    case moxcStatusReadFailed:
      return "reading the input failed";
    case moxcStatusCannotSeek:
      return "the input cannot seek";
    default:
      return "an unknown status";
  }
}

moxcStatus moxcDecoderCreate(MoxcDecoder** ppDecoder, const MoxcDecoderOptions* options) {
  MOXC_REQUIRE(ppDecoder != nullptr, moxcStatusNullPointer);
  MOXC_REQUIRE(usable(options, false), moxcStatusBadArgument);
  *ppDecoder = nullptr;
  return create(ppDecoder, nullptr, -1, options);
}

moxcStatus moxcDecoderOpen(MoxcDecoder** ppDecoder, const MoxcInput* input,
                           const MoxcDecoderOptions* options) {
  MOXC_REQUIRE(ppDecoder != nullptr && input != nullptr && input->read != nullptr, moxcStatusNullPointer);
  MOXC_REQUIRE(usable(options, true), moxcStatusBadArgument);
  *ppDecoder = nullptr;
  return create(ppDecoder, input, -1, options);
}

moxcStatus moxcDecoderOpenFile(MoxcDecoder** ppDecoder, const char* name, const MoxcDecoderOptions* options) {
  MOXC_REQUIRE(ppDecoder != nullptr && name != nullptr, moxcStatusNullPointer);
  MOXC_REQUIRE(usable(options, true), moxcStatusBadArgument);
  *ppDecoder = nullptr;
  const int file = open(name, O_RDONLY | O_CLOEXEC);
  if (file < 0) return moxcStatusReadFailed;
  struct stat facts {};
  const bool regular = fstat(file, &facts) == 0 && S_ISREG(facts.st_mode);
  const MoxcInput input{
      readFile, regular ? seekFile : nullptr, regular ? static_cast<int64_t>(facts.st_size) : -1,
      // The callbacks' user is the descriptor itself.
      reinterpret_cast<void*>(static_cast<intptr_t>(file))};  // NOLINT(performance-no-int-to-ptr)
  const moxcStatus status = create(ppDecoder, &input, file, options);
  if (*ppDecoder == nullptr) {
    const int error = errno;
    close(file);
    errno = error;
  }
  return status;
}

void moxcDecoderFree(MoxcDecoder* decoder) {
  if (decoder == nullptr) return;
  if (decoder->file >= 0) close(decoder->file);
  delete decoder;
}

moxcStatus moxcDecoderFeed(MoxcDecoder* decoder, const uint8_t* bytes, size_t count, size_t* pTaken) {
  MOXC_REQUIRE(decoder != nullptr && pTaken != nullptr && (bytes != nullptr || count == 0),
               moxcStatusNullPointer);
  return guarded(*decoder, [&](moxc::Decoder& d) { return d.feed(Bytes(bytes, count), *pTaken); });
}

moxcStatus moxcDecoderFeedPacket(MoxcDecoder* decoder, const uint8_t* bytes, size_t count) {
  MOXC_REQUIRE(decoder != nullptr, moxcStatusNullPointer);
  return guarded(*decoder,
                 [&](moxc::Decoder& d) { return d.feedPacket(bytes, bytes == nullptr ? 0 : count); });
}

moxcStatus moxcDecoderEnd(MoxcDecoder* decoder) {
  MOXC_REQUIRE(decoder != nullptr, moxcStatusNullPointer);
  return guarded(*decoder, [](moxc::Decoder& d) { return d.end(); });
}

moxcStatus moxcDecoderFlush(MoxcDecoder* decoder) {
  MOXC_REQUIRE(decoder != nullptr, moxcStatusNullPointer);
  return guarded(*decoder, [](moxc::Decoder& d) { return d.flush(); });
}

moxcStatus moxcDecoderRead_16s(MoxcDecoder* decoder, int16_t* samples, size_t frames, size_t* pFrames) {
  return readSamples(decoder, samples, frames, pFrames, false);
}

moxcStatus moxcDecoderRead_32f(MoxcDecoder* decoder, float* samples, size_t frames, size_t* pFrames) {
  return readSamples(decoder, samples, frames, pFrames, true);
}

moxcStatus moxcDecoderGetFormat(const MoxcDecoder* decoder, MoxcFormat* pFormat) {
  MOXC_REQUIRE(decoder != nullptr && pFormat != nullptr, moxcStatusNullPointer);
  const std::optional<moxc::AudioFormat>& format = decoder->decoder->format();
  MOXC_REQUIRE(format.has_value(), moxcStatusWrongState);
  *pFormat = {format->rate, format->channels, format->channelMask};
  return moxcStatusOk;
}

moxcStatus moxcDecoderGetPosition(const MoxcDecoder* decoder, int64_t* pPosition) {
  MOXC_REQUIRE(decoder != nullptr && pPosition != nullptr, moxcStatusNullPointer);
  *pPosition = decoder->decoder->position();
  return moxcStatusOk;
}

moxcStatus moxcDecoderGetDuration(const MoxcDecoder* decoder, int64_t* pDuration, MoxcDuration* pKind) {
  MOXC_REQUIRE(decoder != nullptr && pDuration != nullptr && pKind != nullptr, moxcStatusNullPointer);
  *pKind = decoder->decoder->duration(*pDuration);
  return moxcStatusOk;
}

moxcStatus moxcDecoderSeek(MoxcDecoder* decoder, int64_t position) {
  MOXC_REQUIRE(decoder != nullptr, moxcStatusNullPointer);
  return guarded(*decoder, [&](moxc::Decoder& d) { return d.seek(position); });
}

moxcStatus moxcDecoderScan(MoxcDecoder* decoder) {
  MOXC_REQUIRE(decoder != nullptr, moxcStatusNullPointer);
  return guarded(*decoder, [](moxc::Decoder& d) { return d.scan(); });
}

moxcStatus moxcDecoderGetStats(MoxcDecoder* decoder, MoxcStats* pStats) {
  MOXC_REQUIRE(decoder != nullptr && pStats != nullptr, moxcStatusNullPointer);
  return guarded(*decoder, [&](moxc::Decoder& d) {
    *pStats = d.stats();
    return moxcStatusOk;
  });
}

moxcStatus moxcDecoderGetText(MoxcDecoder* decoder, MoxcTexts kind, int32_t index, const char** pName,
                              const char** pText) {
  MOXC_REQUIRE(decoder != nullptr && pName != nullptr && pText != nullptr, moxcStatusNullPointer);
  MOXC_REQUIRE(kind >= moxcTextDescription && kind <= moxcTextNotice && index >= 0, moxcStatusBadArgument);
  *pName = *pText = nullptr;
  return guarded(*decoder, [&](moxc::Decoder& d) {
    if (index == 0) decoder->texts = d.texts(kind);
    const auto at = static_cast<size_t>(index);
    if (at >= decoder->texts.size()) return moxcStatusEnd;
    *pName = decoder->texts[at].name.c_str();
    *pText = decoder->texts[at].text.c_str();
    return moxcStatusOk;
  });
}

const char* moxcDecoderGetMessage(const MoxcDecoder* decoder) {
  return decoder == nullptr || decoder->decoder == nullptr ? "" : decoder->decoder->message().c_str();
}

moxcStatus moxcDecoderNextEvent(MoxcDecoder* decoder, MoxcEvent* pEvent) {
  MOXC_REQUIRE(decoder != nullptr && pEvent != nullptr, moxcStatusNullPointer);
  return decoder->decoder->nextEvent(*pEvent) ? moxcStatusOk : moxcStatusEnd;
}
