// Reads the tags of MP4 files.
#include "codec/stream/mp4_tags.h"

#include <cstdio>
#include <iterator>

#include "codec/stream/mp4_box.h"

namespace moxc {
namespace {

constexpr size_t kMostBytes = 65536;  // of all tags together

struct Field {
  uint32_t type;
  const char* name;
};
constexpr Field kTexts[] = {
    {fourcc("\251nam"), "title"},    {fourcc("\251ART"), "artist"},  {fourcc("aART"), "albumartist"},
    {fourcc("\251alb"), "album"},    {fourcc("\251day"), "year"},    {fourcc("\251gen"), "genre"},
    {fourcc("\251wrt"), "composer"}, {fourcc("\251cmt"), "comment"}, {fourcc("\251too"), "encoder"},
    {fourcc("\251lyr"), "lyrics"},   {fourcc("cprt"), "copyright"},  {fourcc("desc"), "description"},
    {fourcc("titl"), "title"},       {fourcc("perf"), "artist"},     {fourcc("albm"), "album"},
    {fourcc("auth"), "composer"},
};
constexpr Field kNumbers[] = {{fourcc("tmpo"), "tempo"}, {fourcc("cpil"), "compilation"}};

// ID3v1's, which `gnre` counts from 1.
constexpr const char* kGenres[] = {
    "Blues",
    "Classic Rock",
    "Country",
    "Dance",
    "Disco",
    "Funk",
    "Grunge",
    "Hip-Hop",
    "Jazz",
    "Metal",
    "New Age",
    "Oldies",
    "Other",
    "Pop",
    "R&B",
    "Rap",
    "Reggae",
    "Rock",
    "Techno",
    "Industrial",
    "Alternative",
    "Ska",
    "Death Metal",
    "Pranks",
    "Soundtrack",
    "Euro-Techno",
    "Ambient",
    "Trip-Hop",
    "Vocal",
    "Jazz+Funk",
    "Fusion",
    "Trance",
    "Classical",
    "Instrumental",
    "Acid",
    "House",
    "Game",
    "Sound Clip",
    "Gospel",
    "Noise",
    "AlternRock",
    "Bass",
    "Soul",
    "Punk",
    "Space",
    "Meditative",
    "Instrumental Pop",
    "Instrumental Rock",
    "Ethnic",
    "Gothic",
    "Darkwave",
    "Techno-Industrial",
    "Electronic",
    "Pop-Folk",
    "Eurodance",
    "Dream",
    "Southern Rock",
    "Comedy",
    "Cult",
    "Gangsta",
    "Top 40",
    "Christian Rap",
    "Pop/Funk",
    "Jungle",
    "Native American",
    "Cabaret",
    "New Wave",
    "Psychadelic",
    "Rave",
    "Showtunes",
    "Trailer",
    "Lo-Fi",
    "Tribal",
    "Acid Punk",
    "Acid Jazz",
    "Polka",
    "Retro",
    "Musical",
    "Rock & Roll",
    "Hard Rock",
};

const char* nameOf(uint32_t type) {
  for (const Field& field : kTexts)
    if (field.type == type) return field.name;
  return nullptr;
}

// "3/12": the number and the total of `trkn` and `disk`.
std::string pairText(Bytes value) {
  std::string text = std::to_string(bigEndian(value, 2, 2));
  if (const uint32_t total = bigEndian(value, 4, 2); total > 0)
    text.append("/").append(std::to_string(total));
  return text;
}

uint32_t numberOf(Bytes value) {
  return bigEndian(value, 0, static_cast<int>(std::min<size_t>(value.size(), 4)));
}

// " 00000000 PPPPPPPP RRRRRRRR LLLLLLLLLLLLLLLL ...", hexadecimal.
std::optional<GaplessInfo> parseGapless(const std::string& text) {
  unsigned long long delay, padding, length;
  if (std::sscanf(text.c_str(), " %*8x %8llx %8llx %16llx", &delay, &padding, &length) != 3)
    return std::nullopt;
  constexpr unsigned long long kMost = 1ull << 48;
  if (delay > kMost || padding > kMost || length > kMost || length == 0) return std::nullopt;
  return GaplessInfo{static_cast<int64_t>(delay), static_cast<int64_t>(padding),
                     static_cast<int64_t>(length)};
}

}  // namespace

// Without trailing blanks and without control characters, which a terminal might obey.
void Mp4Tags::addNamed(const std::string& name, const std::string& value) {
  std::string clean = value;
  for (size_t i = 0; i < clean.size(); ++i) {
    const auto c = static_cast<unsigned char>(clean[i]),
               next = static_cast<unsigned char>(value.c_str()[i + 1]);
    if (c < 0x20 || c == 0x7F) clean[i] = ' ';
    if (c == 0xC2 && next >= 0x80 && next < 0xA0) clean[i] = clean[i + 1] = ' ';
  }
  clean.erase(clean.find_last_not_of(' ') + 1);
  if (clean.empty() || bytes_ + name.size() + clean.size() > kMostBytes) return;
  bytes_ += name.size() + clean.size() + sizeof(Tag);
  tags_.emplace_back(name, std::move(clean));
}

void Mp4Tags::add(const char* name, const std::string& value) { addNamed(name, value); }

// `----`: whose field it is, its name, its values.
void Mp4Tags::readFreeForm(Bytes content) {
  std::string name;
  while (const auto box = takeBox(content)) {
    if (box->type == fourcc("name")) name = asText(slice(box->content, 4));
    if (box->type != fourcc("data") || box->content.size() < 8) continue;
    const uint32_t kind = bigEndian(box->content, 0, 4) & 0xFFFFFF;
    const std::string value = asText(slice(box->content, 8));
    if (name == "iTunSMPB" && !gapless_) gapless_ = parseGapless(value);
    if (kind == 1 && !name.empty() && name.size() < 128 && name.compare(0, 4, "iTun") != 0)
      addNamed(name, value);
  }
}

void Mp4Tags::readItem(uint32_t type, Bytes content) {
  if (type == fourcc("----")) return readFreeForm(content);
  while (const auto box = takeBox(content)) {
    if (box->type != fourcc("data") || box->content.size() < 8) continue;
    const Bytes value = slice(box->content, 8);
    if (const char* const name = nameOf(type)) add(name, asText(value));
    if (type == fourcc("trkn") && value.size() >= 4) add("track", pairText(value));
    if (type == fourcc("disk") && value.size() >= 4) add("disc", pairText(value));
    const uint32_t number = numberOf(value);
    if (type == fourcc("gnre") && number >= 1 && number <= std::size(kGenres))
      add("genre", kGenres[number - 1]);
    for (const Field& field : kNumbers)
      if (type == field.type && number != 0) add(field.name, std::to_string(number));
  }
}

// QuickTime's: length 2, language 2, text. 3GP's: version and flags 4, language 2, text up to a zero.
void Mp4Tags::readText(uint32_t type, Bytes content) {
  const char* const name = nameOf(type);
  if (name == nullptr || content.size() < 6) return;
  const bool quickTime = type >> 24 == 0xA9;
  const Bytes text = quickTime ? slice(content, 4, bigEndian(content, 0, 2)) : slice(content, 6);
  if (text.size() >= 2 && bigEndian(text, 0, 2) == 0xFEFF)
    return;  // UTF-16, which 3GP allows and hardly anyone writes
  const std::string all = asText(text);
  add(name, all.substr(0, all.find('\0')));
}

}  // namespace moxc
