// What `extract` writes, and what it leaves behind when it cannot.

#include <fstream>

#include "support/movie_builder.h"
#include "tools/program.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <set>
#include <thread>
#endif

namespace kt::test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Extract(const std::string& file, const std::string& output) {
  return {"extract", "--force", "--track", "1", file, output};
}

TEST(Extract, RefusesWhatItMustNotReplace) {
  const TempFolder folder;
  const std::string file = folder / "movie.3gp";
  fs::copy_file(Media("h263.3gp"), file);
  fs::create_directory(folder / "folder");
  fs::create_hard_link(file, folder / "second name");
  std::vector<std::pair<std::string, const char*>> rows = {
      {folder / "second name", "it is the file that is being read"},
      {folder / "folder", "it is a directory"},
      {folder / "no folder/out", "No such file or directory"},
      {folder / "new/", "it is the name of a directory"},
      {"", "the name is empty"},
  };
#ifndef _WIN32
  fs::create_symlink("movie.3gp", folder / "link");
  rows.push_back({folder / "link", "it is the file that is being read"});
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  rows.push_back({folder / "fifo", "it is no regular file"});
  fs::copy_file(file, folder / "kept");
  fs::permissions(folder / "kept", fs::perms::owner_read);
  if (geteuid() != 0) rows.push_back({folder / "kept", "Permission denied"});  // root may write everything
#endif
  const std::vector<std::string> before = folder.Names();
  for (const auto& [output, reason] : rows) {
    ExpectRun(Extract(file, output), 1, {"ktmp4 extract: cannot write \"" + output + "\": ", reason});
    EXPECT_EQ(folder.Names(), before);
  }
  ExpectRun({"extract", "--track", "1", Media("h263.3gp"), file}, 1, {"--force replaces it"});
  EXPECT_TRUE(ReadFile(file) == ReadFile(Media("h263.3gp")));
}

// What players take, byte by byte; and what a format cannot say.
TEST(Extract, FramesTheSamples) {
  const auto sound = [](const std::vector<u8>& setUp, u32 size) {
    return SoundTrack(AudioEntry("mp4a", 2, 44100, Esds(0x40, 5, setUp))).WithOneChunk(1, Stsz({size}));
  };
  // Units behind two bytes of length; a delimiter ahead of the picture.
  const Bytes avcC = Box("avcC", Bytes().U32s({0x0164001F, 0xFDE10001}).U8(0x67).U8(1).U16(1).U8(0x68));
  const Bytes units = Bytes().U16(1).U8(9).U16(2).U16(0x6501).U16(1).U8(0x41);
  const Track pictures = TrackOf("vide", Vmhd(), VisualEntry("avc1", 64, 48, avcC));
  const Bytes begin = Bytes().U32(1).U8(9).U32(1).U8(0x67).U32(1).U8(0x68).U32(1).U16(0x6501);
  const Track amr = SoundTrack(AudioEntry("sawb", 2, 16, Box("damr", Bytes().Zeros(9))));
  const Bytes plain = Bytes().Text("abbcccdddd");
  const std::tuple<const char*, Track, Bytes, Bytes, std::vector<std::string>> rows[] = {
      {"raw", Track(), plain, plain, {}},
      {"m4v", Track(), plain, Bytes().U16(0xD0D1).Add(plain), {}},
      {"amr", amr, plain, Bytes().Text("#!AMR-WB\n").Add(plain), {}},
      {"adts", sound({0x12, 0x10}, 4), plain, Bytes().U32(0xFFF15080).U16(0x017F).U8(0xFC).Text("abbc"), {}},
      {"adts", sound({0xB9, 0x10, 0}, 4), plain, {}, {"object type 23"}},
      {"adts", sound({0x12, 0x10}, 8185), Bytes().Zeros(8185), {}, {"has room for 8184"}},
      {"adts", Track(), plain, {}, {"is no AAC, but mp4v"}},
      {"annexb", pictures.WithOneChunk(1, Stsz({10})), units, Bytes(begin).U32(1).U8(0x41), {}},
      {"annexb", pictures.WithOneChunk(1, Stsz({9})), units, begin, {"longer than the sample"}},
  };
  for (const auto& [format, track, media, expected, complaint] : rows) {
    Movie movie = MovieOf(track);
    movie.mdat = Box("mdat", media);
    const TempFile file(movie.Build());
    const int exitCode = complaint.empty() ? 0 : 1;
    EXPECT_EQ(ExpectRun({"extract", "--format", format, file.Name(), "-"}, exitCode, complaint),
              std::string(expected.begin(), expected.end()));
  }
}

#ifndef _WIN32

// As with any other way of writing into a file. A link that leads nowhere is in the way, and with --force it
// is what goes: nothing appears where it points to.
TEST(Extract, GoesThroughALinkAndKeepsThePermissions) {
  const TempFolder folder;
  std::ofstream(folder / "real") << "old";
  fs::permissions(folder / "real", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("real", folder / "link");
  ExpectRun(Extract(Media("h263.3gp"), folder / "link"));
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(fs::status(folder / "real").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(fs::file_size(folder / "real"), 63638u);
  fs::create_symlink("elsewhere", folder / "nowhere");
  ExpectRun({"extract", "--track", "1", Media("h263.3gp"), folder / "nowhere"}, 1, {"--force replaces it"});
  EXPECT_TRUE(fs::is_symlink(folder / "nowhere"));
  ExpectRun(Extract(Media("h263.3gp"), folder / "nowhere"));
  EXPECT_EQ(fs::symlink_status(folder / "nowhere").type(), fs::file_type::regular);
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"link", "nowhere", "real"}));
}

// The work so far goes, what was there before stays, and the shell sees which signal it was. The work has a
// name of its own each time, and is for nobody's eyes that what it will replace was not for.
TEST(Extract, InterruptedLeavesNothingBehind) {
  // 1 GiB of samples, nearly all of it a hole in the file, so that there is time to interrupt the work.
  Movie movie = MovieOf(Track().WithOneChunk(1u << 18, ConstantStsz(4096, 1u << 18)));
  movie.mdat.clear();
  const TempFile input(Bytes(movie.Build()).U32(0).Text("mdat")), complaints;
  fs::resize_file(input.Path(), 4096 + (1u << 30));
  const std::string file = input.Name(), err = complaints.Name();
  std::set<std::string> names;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const TempFolder folder;
    const std::string output = folder / "out";
    std::ofstream(output) << "old";
    fs::permissions(output, fs::perms::owner_read | fs::perms::owner_write);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
      if (!std::freopen(err.c_str(), "w", stderr)) _exit(125);
      execl(KTMP4_PROGRAM, "ktmp4", "extract", "--force", "--track", "1", file.c_str(), output.c_str(),
            nullptr);
      _exit(126);
    }
    int status = 0;
    // As soon as a second file stands in the folder the samples are on their way.
    while (folder.Names().size() < 2 && waitpid(child, &status, WNOHANG) == 0) usleep(1000);
    ASSERT_EQ(folder.Names().size(), 2u) << "it ended before it could be interrupted: " << ReadText(err);
    const std::string part = folder.Names().front();
    EXPECT_TRUE(names.insert(part).second) << part;
    EXPECT_EQ(fs::status(folder / part).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    kill(child, signal);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
    EXPECT_EQ(ReadText(err), "ktmp4 extract: interrupted\n");
    EXPECT_EQ(ReadText(output), "old");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"out"});
  }
}

#endif

}  // namespace
}  // namespace kt::test
