#include "codec/aac/adif.h"

namespace moxc::aac {
namespace {

// Sixteen program configuration elements of at most 9 + 75 + 257 bytes fit well in this, whatever the data say.
constexpr size_t kMaxHeader = 8192;

}  // namespace

DemuxEvent AdifDemuxer::readHeader() {
  const Bytes bytes = window_.bytes();
  Vector<uint8_t> padded(kMaxHeader);
  std::copy_n(bytes.begin(), std::min(bytes.size(), padded.size() - 8), padded.begin());
  MoxAacADIFHeader header{};
  Vector<MoxAacPrgCfgElt> programs(16);
  const uint8_t* at = padded.data();
  const bool good = moxsUnpackADIFHeader_AAC(&at, &header, programs.data(), 16) == moxStatusOk;
  const auto headerBytes = static_cast<size_t>(at - padded.data());
  if ((!good || headerBytes >= bytes.size()) && !whole_ && bytes.size() < kMaxHeader)
    return DemuxEvent::needMore;
  headerRead_ = true;
  if (!good || headerBytes >= bytes.size()) {
    refusal_ = "is an ADIF stream whose header is incomplete";
    return DemuxEvent::refused;
  }
  if (programs[0].samplingRateIndex > 11) {
    refusal_ = "is an ADIF stream without a usable sample rate";
    return DemuxEvent::refused;
  }
  blocks_ = {.objectType = programs[0].objectType + 1, .rateIndex = programs[0].samplingRateIndex};
  layout_ = Layout::ofProgram(programs[0]);
  if (!layout_) {
    refusal_ = "is an AAC stream whose program has no channels, or more than eight";
    return DemuxEvent::refused;
  }
  programs_ = header.numPrgCfgElt;
  window_.drop(headerBytes);
  return DemuxEvent::config;
}

std::unique_ptr<Decoder> AdifDemuxer::makeDecoder(const DecodeSettings& settings) {
  auto decoder = std::make_unique<Decoder>(settings, blocks_, layout_, container());
  decoder_ = decoder.get();
  return decoder;
}

DemuxEvent AdifDemuxer::next(Packet& packet) {
  if (!refusal_.empty()) return DemuxEvent::refused;
  if (!headerRead_) return readHeader();
  window_.drop(std::exchange(packetBytes_, 0));
  const Bytes bytes = window_.bytes();
  if (broken_) {
    skipped_ += static_cast<int64_t>(bytes.size());
    window_.drop(bytes.size());
    return whole_ ? DemuxEvent::end : DemuxEvent::needMore;
  }
  if (whole_ && allZero(bytes)) return DemuxEvent::end;
  // Every attempt begins at the front: the next one waits for some bytes more.
  if (!whole_ && bytes.size() < std::min(kWindow, tried_ + tried_ / 8)) return DemuxEvent::needMore;
  packetBytes_ = bytes.empty() ? 0 : decoder_->readAhead(bytes);
  if (packetBytes_ == 0 && !whole_ && bytes.size() < kWindow) {
    tried_ = bytes.size();
    return DemuxEvent::needMore;
  }
  tried_ = 0;
  if (packetBytes_ == 0) {
    broken_ = true;
    return DemuxEvent::lost;
  }
  packet.bytes = bytes.first(packetBytes_);
  packet.position = window_.position();
  return DemuxEvent::packet;
}

std::vector<std::string> AdifDemuxer::faults() const {
  if (!broken_) return {};
  return {"damage ends the stream: " + std::to_string(skipped_) + (skipped_ == 1 ? " byte" : " bytes") +
          " left undecoded"};
}

std::vector<std::string> AdifDemuxer::notes() const {
  if (programs_ <= 1) return {};
  return {"the first of " + std::to_string(programs_) + " programs is decoded"};
}

}  // namespace moxc::aac
