// Channel layouts: speakers in WAVE order.
#include "codec/aac/layout.h"

#include <algorithm>
#include <bit>

namespace moxc::aac {
namespace {

// WAVE_FORMAT_EXTENSIBLE's speakers.
enum Speaker : uint32_t {
  kLeft = 0x1,
  kRight = 0x2,
  kCentre = 0x4,
  kLfe = 0x8,
  kBackLeft = 0x10,
  kBackRight = 0x20,
  kLeftOfCentre = 0x40,
  kRightOfCentre = 0x80,
  kBackCentre = 0x100,
  kSideLeft = 0x200,
  kSideRight = 0x400,
  kTopLeft = 0x1000,  // above the front
  kTopRight = 0x4000,
};

struct Placed {
  ElementId id;
  int32_t tag;
  std::array<uint32_t, 2> speaker;  // 0: unknown
};

// Speakers give the places when each is known and taken once; otherwise channels stay in stream order.
std::optional<Layout> layOut(const std::vector<Placed>& placed) {
  Layout layout;
  bool known = true;
  for (const Placed& element : placed)
    for (int32_t ch = 0; ch < (element.id == ElementId::cpe ? 2 : 1); ++ch) {
      const uint32_t speaker = element.speaker[static_cast<size_t>(ch)];
      known = known && speaker != 0 && (layout.mask & speaker) == 0;
      layout.mask |= speaker;
      ++layout.channels;
    }
  if (layout.channels < 1 || layout.channels > 8) return std::nullopt;

  int32_t next = 0;
  for (const Placed& element : placed) {
    Layout::Element& made = layout.elements.emplace_back(Layout::Element{element.id, element.tag, {}});
    for (size_t ch = 0; ch < (element.id == ElementId::cpe ? 2u : 1u); ++ch)
      made.output[ch] = known ? std::popcount(layout.mask & (element.speaker[ch] - 1)) : next++;
  }
  if (!known) layout.mask = 0;
  return layout;
}

constexpr std::array<uint32_t, 2> kFrontPair = {kLeft, kRight};
constexpr std::array<uint32_t, 2> kInnerPair = {kLeftOfCentre, kRightOfCentre};
constexpr std::array<uint32_t, 2> kSidePair = {kSideLeft, kSideRight};
constexpr std::array<uint32_t, 2> kBackPair = {kBackLeft, kBackRight};
constexpr std::array<uint32_t, 2> kTopPair = {kTopLeft, kTopRight};

}  // namespace

std::string Layout::speakers() const {
  static constexpr const char* kNames[] = {"L",  "R",  "C",  "LFE", "Lb", "Rb",  "Lc", "Rc",
                                           "Cb", "Ls", "Rs", "Ct",  "Lt", "Cft", "Rt"};
  std::string text;
  for (size_t bit = 0; bit < std::size(kNames); ++bit)
    if ((mask >> bit & 1u) != 0) text.append(text.empty() ? "" : " ").append(kNames[bit]);
  return text.empty() ? std::to_string(channels) + " in stream order" : text;
}

std::optional<Layout> Layout::ofConfiguration(int32_t configuration) {
  constexpr auto sce = ElementId::sce, cpe = ElementId::cpe, lfe = ElementId::lfe;
  const Placed centre{sce, -1, {kCentre}}, front{cpe, -1, kFrontPair}, inner{cpe, -1, kInnerPair};
  const Placed side{cpe, -1, kSidePair}, back{cpe, -1, kBackPair}, backCentre{sce, -1, {kBackCentre}};
  const Placed top{cpe, -1, kTopPair}, low{lfe, -1, {kLfe}};
  switch (configuration) {
    case 1:
      return layOut({centre});
    case 2:
      return layOut({front});
    case 3:
      return layOut({centre, front});
    case 4:
      return layOut({centre, front, backCentre});
    case 5:
      return layOut({centre, front, back});
    case 6:
      return layOut({centre, front, back, low});
    case 7:
      return layOut({centre, inner, front, back, low});
    case 11:
      return layOut({centre, front, back, backCentre, low});
    case 12:
      return layOut({centre, front, side, back, low});
    case 14:
      return layOut({centre, front, back, low, top});
    default:
      return std::nullopt;
  }
}

// Elements are listed from the centre outwards, front, then side, then back.
std::optional<Layout> Layout::ofProgram(const MoxAacPrgCfgElt& pce) {
  std::vector<Placed> placed;
  const auto add = [&](bool isPair, int32_t tag, std::array<uint32_t, 2> where) {
    placed.push_back({isPair ? ElementId::cpe : ElementId::sce, tag, where});
  };
  const auto count = [](const int32_t* isCpe, int32_t listed) {
    return static_cast<int32_t>(std::count(isCpe, isCpe + listed, 1));
  };

  const int32_t frontPairs = count(pce.frontEltIsCpe, pce.numFrontChanElt);
  const bool twoSingles = frontPairs == 0 && pce.numFrontChanElt == 2;
  for (int32_t i = 0, pair = 0; i < pce.numFrontChanElt; ++i)
    if (pce.frontEltIsCpe[i] != 0)
      add(true, pce.frontEltTagSel[i], ++pair == frontPairs ? kFrontPair : kInnerPair);
    else
      add(false, pce.frontEltTagSel[i],
          {twoSingles ? kFrontPair[static_cast<size_t>(i)] : uint32_t{kCentre}});
  for (int32_t i = 0; i < pce.numSideChanElt; ++i)
    add(pce.sideEltIsCpe[i] != 0, pce.sideEltTagSel[i],
        pce.sideEltIsCpe[i] != 0 ? kSidePair : std::array<uint32_t, 2>{});
  for (int32_t i = 0; i < pce.numBackChanElt; ++i)
    add(pce.backEltIsCpe[i] != 0, pce.backEltTagSel[i],
        pce.backEltIsCpe[i] != 0 ? kBackPair : std::array<uint32_t, 2>{kBackCentre});
  for (int32_t i = 0; i < pce.numLfeChanElt; ++i)
    placed.push_back({ElementId::lfe, pce.lfeEltTagSel[i], {kLfe}});
  return layOut(placed);
}

}  // namespace moxc::aac
