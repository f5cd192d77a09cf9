// Runs a driver without libFuzzer: over chance inputs, then over the files and folders named. What libFuzzer found and the
// corpus keeps is so tried again by every ordinary test run.
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

char current[256];  // names the input at work, for whoever reads of an abort

void run(const std::string& name, const std::vector<uint8_t>& input) {
  std::snprintf(current, sizeof current, "failing input: %s\n", name.c_str());
  // Exactly as large as the input, so that a sanitizer sees one byte more.
  const std::vector<uint8_t> exact(input.begin(), input.end());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

void runChance(uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> input((seed * 37) % 4000);
  for (uint8_t& byte : input) byte = static_cast<uint8_t>(random());
  run("chance input " + std::to_string(seed), input);
}

int runFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return 1;
  }
  run(path.string(), {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  for (const int fatal : {SIGABRT, SIGSEGV, SIGFPE})
    std::signal(fatal, [](int number) {
      std::fputs(current, stderr);
      std::signal(number, SIG_DFL);
      std::raise(number);
    });
  constexpr uint32_t kChanceInputs = 400;
  for (uint32_t seed = 0; seed < kChanceInputs; ++seed) runChance(seed);
  int files = 0, unreadable = 0;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      unreadable += runFile(argv[i]), ++files;
      continue;
    }
    // Links lead to the test streams, which the decoders' tests play anyway.
    for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
      if (!entry.is_symlink()) unreadable += runFile(entry.path()), ++files;
  }
  std::printf("%u chance inputs, %d files\n", kChanceInputs, files);
  return unreadable == 0 ? 0 : 1;
}
