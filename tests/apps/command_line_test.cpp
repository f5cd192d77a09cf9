// The program as a user starts it: exit codes, messages, files.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>

#include "support/streams.h"

namespace {

using moxtest::readFile;
using moxtest::ScratchDirectory;
using moxtest::streamPath;
using moxtest::writeFile;

struct Outcome {
  int code;
  std::string text;  // standard output and error
};

// Runs "mox ARGUMENTS" in a shell; MOX stands for the program in pipes.
Outcome run(const std::string& arguments) {
  const std::string command = "MOX='" MOX_PROGRAM "'; { \"$MOX\" " + arguments + "; } 2>&1";
  FILE* const pipe = popen(command.c_str(), "r");
  Outcome outcome{-1, {}};
  for (int c; (c = std::fgetc(pipe)) != EOF;) outcome.text += static_cast<char>(c);
  const int status = pclose(pipe);
  outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

const std::string kStream = streamPath("mp3_44100_joint128_short.mp3");
const std::string kReference = streamPath("mp3_44100_joint128_short.ref.wav");

TEST(CommandLine, DecodesFilesAndPipesToTheSameBytes) {
  const ScratchDirectory scratch;
  EXPECT_EQ(run("decode -q " + kStream + " " + scratch / "a.wav").text, "");
  EXPECT_EQ(run("decode -q - - < " + kStream + " > " + scratch / "b.wav").code, 0);
  EXPECT_EQ(run("decode -q - /dev/stdout < " + kStream + " | cat > " + scratch / "c.wav").code, 0);
  std::filesystem::copy(kStream, scratch / "d.mp3");
  EXPECT_EQ(run("decode " + scratch / "d.mp3").code, 0);  // names d.wav itself
  const std::vector<uint8_t> expected = readFile(scratch / "a.wav");
  EXPECT_EQ(expected.size(), 44 + 44 * 1152 * 4u);
  for (const char* name : {"b.wav", "c.wav", "d.wav"}) EXPECT_EQ(readFile(scratch / name), expected) << name;

  EXPECT_EQ(run("decode -q --float " + kStream + " " + scratch / "f.wav").code, 0);
  EXPECT_EQ(moxtest::readWav(scratch / "f.wav").info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);

  const Outcome again = run("decode " + scratch / "d.mp3");  // d.wav is there, and was not named
  EXPECT_EQ(again.code, 1);
  EXPECT_NE(again.text.find("is there already"), std::string::npos);
  EXPECT_EQ(scratch.entries(), 6u);  // no temporary file is left
}

TEST(CommandLine, UnusableInputWritesNothing) {
  const ScratchDirectory scratch;
  writeFile(scratch / "empty", {});
  writeFile(scratch / "text", std::vector<uint8_t>(5000, 'x'));
  writeFile(scratch / "flac", {'f', 'L', 'a', 'C', 0, 0, 0, 0});
  writeFile(scratch / "tagged", {'I', 'D', '3', 3, 0, 0, 0, 0, 0, 0, 'O', 'g', 'g', 'S', 0});
  writeFile(scratch / "tag", {'I', 'D', '3', 3, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F, 1, 2, 3});
  const size_t before = scratch.entries();
  const std::pair<std::string, std::string> cases[] = {
      {"decode " + scratch / "empty" + " " + scratch / "out", "is empty"},
      {"decode " + scratch / "text" + " " + scratch / "out", "holds no"},
      {"decode " + scratch / "flac" + " " + scratch / "out", "FLAC"},
      {"decode " + scratch / "tagged" + " " + scratch / "out", "Ogg"},
      {"decode " + scratch / "tag" + " " + scratch / "out", "holds no"},
      {"decode " + scratch / "missing" + " " + scratch / "out", "No such file"},
      {"decode /tmp " + scratch / "out", "directory"},
      {"info " + scratch / "text", "holds no"},
  };
  for (const auto& [arguments, message] : cases) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.code, 1) << arguments;
    EXPECT_NE(outcome.text.find(message), std::string::npos) << arguments << ": " << outcome.text;
  }
  EXPECT_EQ(scratch.entries(), before);

  for (const char* wrong : {"", "decode", "transmogrify x", "decode a b c", "decode --loud x"})
    EXPECT_EQ(run(wrong).code, 2) << wrong;
  EXPECT_EQ(run("--version").code, 0);
}

TEST(CommandLine, NoInputIsEverOverwrittenNorAFailedWriteKept) {
  const ScratchDirectory scratch;
  const std::vector<uint8_t> bytes = readFile(kStream);
  const std::string in = scratch / "in.mp3", out = scratch / "out.wav";
  writeFile(in, bytes);
  for (const std::string& arguments : {in + " " + in, "- " + in + " < " + in, in + " - 1<>" + in}) {
    const Outcome outcome = run("decode -q " + arguments);
    EXPECT_EQ(outcome.code, 1) << arguments;
    EXPECT_NE(outcome.text.find("same file"), std::string::npos) << outcome.text;
    EXPECT_EQ(readFile(in), bytes) << arguments;
  }
  const std::pair<std::string, std::string> failures[] = {
      {"info " + in + " > /dev/full", "No space left"},
      {"--help > /dev/full", "No space left"},
      {"info " + in + " >&-", "Bad file descriptor"},
      {"decode -q " + in + " - > /dev/full", "No space left"},
      {"decode -q - " + out + " <&-", "Bad file descriptor"},
      {"spectrum - - < " + in + " > /dev/full", "No space left"},
      {"encode -q " + kReference + " - > /dev/full", "No space left"},
      {"decode -q " + in + " " + scratch / "none/out", "No such file"},
      {"decode - " + out + " < " + scratch / ".", "standard input: is a directory"}};
  for (const auto& [arguments, message] : failures) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.code, 1) << arguments;
    EXPECT_NE(outcome.text.find(message), std::string::npos) << arguments << ": " << outcome.text;
  }
  // A limit on file sizes ends a program that does not expect it, temporary file and all.
  const std::string limited = "(ulimit -f 20; '" MOX_PROGRAM "' decode -q " + in + " " + out + " 2>&-)";
  EXPECT_EQ(WEXITSTATUS(std::system(limited.c_str())), 1);  // NOLINT(concurrency-mt-unsafe)
  EXPECT_EQ(scratch.entries(), 1u);

  // Nothing meant for a closed standard error ends up in the output.
  EXPECT_EQ(run("decode -q " + in + " " + out).code, 0);
  EXPECT_EQ(run("decode " + in + " " + scratch / "closed.wav" + " 2>&-").code, 0);
  EXPECT_EQ(readFile(scratch / "closed.wav"), readFile(out));
  const std::string longest = scratch / std::string(251, 'x') + ".wav";
  EXPECT_EQ(run("decode -q " + in + " " + longest).code, 0);
}

TEST(CommandLine, DamageIsReportedAndTheOutputStillWritten) {
  const ScratchDirectory scratch;
  std::vector<uint8_t> bytes = readFile(kStream);
  for (size_t at = 5000; at < 6000; ++at) bytes[at] = static_cast<uint8_t>(at * 7);
  writeFile(scratch / "damaged.mp3", bytes);
  const Outcome outcome = run("decode -q " + scratch / "damaged.mp3" + " " + scratch / "out.wav");
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.text.find("concealed"), std::string::npos) << outcome.text;
  EXPECT_EQ(moxtest::readWav(scratch / "out.wav").info.frames, 44 * 1152);
  EXPECT_EQ(readFile(scratch / "damaged.mp3"), bytes);
  EXPECT_EQ(run("info --check " + scratch / "damaged.mp3").code, 3);
}

TEST(CommandLine, InfoTellsWhatAStreamIs) {
  const Outcome outcome = run("info " + streamPath("mp3_48000_vbr_v3.mp3"));
  EXPECT_EQ(outcome.code, 0);
  for (const char* fact : {"MPEG-1 Layer III", "48000 Hz", "joint stereo, mid/side",
                           "128 to 320 kbit/s variable", "54144 samples", "47 of 1152"})
    EXPECT_NE(outcome.text.find(fact), std::string::npos) << fact << " in\n" << outcome.text;
}

TEST(CommandLine, SpectrumDrawsFilesAndStreamsAlike) {
  const ScratchDirectory scratch;
  EXPECT_EQ(run("spectrum --width 100 --height 64 " + kReference + " " + scratch / "a.png").text, "");
  EXPECT_EQ(run("spectrum --width 100 --height 64 " + kStream + " - > " + scratch / "b.png").code, 0);
  for (const char* name : {"a.png", "b.png"}) EXPECT_EQ(readFile(scratch / name)[1], 'P') << name;

  writeFile(scratch / "text", std::vector<uint8_t>(5000, 'x'));
  const Outcome bad = run("spectrum " + scratch / "text" + " " + scratch / "out.png");
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.text.find("text: holds no"), std::string::npos) << bad.text;
  EXPECT_EQ(run("spectrum --width 0 " + kReference + " " + scratch / "out.png").code, 2);
  EXPECT_EQ(run("spectrum " + kReference).code, 2);
  EXPECT_EQ(scratch.entries(), 3u);
}

TEST(CommandLine, EncodesFilesAndPipesToTheSameBytes) {
  const ScratchDirectory scratch;
  EXPECT_EQ(run("encode -q -b 160 " + kReference + " " + scratch / "a.mp3").text, "");
  EXPECT_EQ(run("encode -q -b 160 - - < " + kReference + " | cat > " + scratch / "b.mp3").code, 0);
  EXPECT_EQ(run("decode -q " + kStream + " - | \"$MOX\" encode -q /dev/stdin " + scratch / "p.mp3").code, 0);
  std::filesystem::copy(kReference, scratch / "c.wav");
  EXPECT_EQ(run("encode -b 160 " + scratch / "c.wav").code, 0);  // names c.mp3 itself
  const std::vector<uint8_t> expected = readFile(scratch / "a.mp3");
  for (const char* name : {"b.mp3", "c.mp3"}) EXPECT_EQ(readFile(scratch / name), expected) << name;
  EXPECT_NE(run("info " + scratch / "a.mp3").text.find("160 kbit/s"), std::string::npos);
  EXPECT_EQ(run("decode -q " + scratch / "a.mp3" + " " + scratch / "d.wav").code, 0);
  EXPECT_EQ(moxtest::readWav(scratch / "d.wav").info.frames, moxtest::readWav(kReference).info.frames);

  // Mono comes out as one channel, however it is asked for.
  EXPECT_EQ(run("encode -q -V 5 -m mono " + kReference + " " + scratch / "m.mp3").code, 0);
  EXPECT_EQ(run("decode -q " + scratch / "m.mp3" + " " + scratch / "m.wav").code, 0);
  EXPECT_EQ(moxtest::readWav(scratch / "m.wav").info.channels, 1);

  writeFile(scratch / "text", std::vector<uint8_t>(5000, 'x'));
  std::vector<uint8_t> whole = readFile(kReference);
  writeFile(scratch / "header", {whole.begin(), whole.begin() + 44});
  whole.resize(100001);
  writeFile(scratch / "cut.wav", whole);
  EXPECT_EQ(run("encode " + scratch / "cut.wav").code, 3);
  SF_INFO slow{0, 22050, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, 0, 0};
  sf_close(sf_open((scratch / "slow.wav").c_str(), SFM_WRITE, &slow));
  const size_t before = scratch.entries();
  const std::pair<std::string, std::string> refused[] = {
      {scratch / "text", "not an audio file"},  {scratch / "missing", "No such file"},
      {scratch / "slow.wav", "-ar 32000"},      {"/", "is a directory"},
      {scratch / "header", "holds no samples"}, {scratch / "c.wav", "is there already"}};
  for (const auto& [input, message] : refused) {
    const Outcome outcome = run("encode " + input + (message[0] == 'i' ? "" : " " + scratch / "out.mp3"));
    EXPECT_EQ(outcome.code, 1) << input;
    EXPECT_NE(outcome.text.find(message), std::string::npos) << outcome.text;
  }
  EXPECT_EQ(scratch.entries(), before);
  for (const char* wrong : {"-b 100", "-V 10", "-b 128 -V 2", "-m quad"})
    EXPECT_EQ(run(std::string("encode ") + wrong + " " + kReference + " " + scratch / "out.mp3").code, 2)
        << wrong;
}

}  // namespace
