#include "codec/stream/mp4_audio.h"

#include "codec/io/failure.h"

#ifdef HAVE_LIBAVFORMAT
#include <memory>
#include <new>

extern "C" {
#include <libavformat/avformat.h>
}
#endif

namespace moxc {

bool isMp4(Bytes bytes) { return startsWith(slice(bytes, 4), "ftyp"); }

#ifdef HAVE_LIBAVFORMAT

namespace {

// The bytes as libavformat reads a file.
struct Source {
  Bytes bytes;
  size_t position = 0;

  static int read(void* opaque, uint8_t* out, int count) {
    Source& self = *static_cast<Source*>(opaque);
    const Bytes part = slice(self.bytes, self.position, static_cast<size_t>(count));
    if (part.empty()) return AVERROR_EOF;
    std::copy(part.begin(), part.end(), out);
    self.position += part.size();
    return static_cast<int>(part.size());
  }
  static int64_t seek(void* opaque, int64_t offset, int whence) {
    Source& self = *static_cast<Source*>(opaque);
    const auto size = static_cast<int64_t>(self.bytes.size());
    if (whence == AVSEEK_SIZE) return size;
    if (whence == SEEK_CUR) offset += static_cast<int64_t>(self.position);
    if (whence == SEEK_END) offset += size;
    if (offset < 0 || offset > size) return AVERROR(EINVAL);
    self.position = static_cast<size_t>(offset);
    return offset;
  }
};

struct CloseIo {
  void operator()(AVIOContext* io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
  }
};
struct CloseFormat {
  void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};
struct FreePacket {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

// What the edit list leaves out of the first and the last packets.
void noteTrim(const AVPacket& packet, Mp4Audio& audio) {
  size_t size = 0;
  const uint8_t* const data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
  if (data == nullptr || size < 8) return;
  const Bytes counts(data, 8);
  if (audio.packets.empty()) audio.delay = littleEndian32(counts, 0);
  audio.padding = littleEndian32(counts, 4);
}

}  // namespace

bool canReadMp4() { return true; }

Mp4Audio readMp4(Bytes bytes) {
  constexpr int kBufferBytes = 1 << 16;
  av_log_set_level(AV_LOG_QUIET);
  Source source{bytes};
  auto* const buffer = static_cast<uint8_t*>(av_malloc(kBufferBytes));
  const std::unique_ptr<AVIOContext, CloseIo> io(
      avio_alloc_context(buffer, kBufferBytes, 0, &source, Source::read, nullptr, Source::seek));
  AVFormatContext* opened = avformat_alloc_context();
  if (buffer == nullptr || io == nullptr || opened == nullptr) throw std::bad_alloc();
  opened->pb = io.get();
  if (avformat_open_input(&opened, nullptr, av_find_input_format("mp4"), nullptr) < 0)
    throw Failure("the MP4 file cannot be read");
  const std::unique_ptr<AVFormatContext, CloseFormat> format(opened);

  int track = -1;
  for (unsigned i = 0; i < format->nb_streams && track < 0; ++i)
    if (format->streams[i]->codecpar->codec_id == AV_CODEC_ID_AAC) track = static_cast<int>(i);
  if (track < 0) throw Failure("the MP4 file holds no AAC");
  const AVCodecParameters& codec = *format->streams[track]->codecpar;

  Mp4Audio audio;
  audio.rate = codec.sample_rate;
  audio.config.assign(codec.extradata, codec.extradata + codec.extradata_size);
  const std::unique_ptr<AVPacket, FreePacket> packet(av_packet_alloc());
  if (packet == nullptr) throw std::bad_alloc();
  for (; av_read_frame(format.get(), packet.get()) >= 0; av_packet_unref(packet.get())) {
    if (packet->stream_index != track) continue;
    noteTrim(*packet, audio);
    audio.packets.emplace_back(packet->data, packet->data + packet->size);
  }
  return audio;
}

#else

bool canReadMp4() { return false; }

Mp4Audio readMp4(Bytes) { throw Failure("this mox was built without MP4"); }

#endif

}  // namespace moxc
