#include "engine/mp4_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "support/movie_builder.h"

namespace kt {
namespace {

using namespace test;

std::unique_ptr<CMp4File> NewFile() {
  CMp4File* file = nullptr;
  EXPECT_EQ(CreateMp4File(&file), MP4_OK);
  return std::unique_ptr<CMp4File>(file);
}

std::string DumpOf(CMp4File* file, Mp4Result expected = MP4_OK) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(file->Dump(), expected);
  return testing::internal::GetCapturedStdout();
}

Bytes LargeBox(std::string_view code, u64 size, const Bytes& payload = {}) {
  return Bytes().U32(1).Text(code).U64(size).Add(payload);
}

/// "moov" and in it ever deeper "trak" boxes, `levels` in all.
Bytes Nested(u32 levels) {
  Bytes tree;
  for (u32 level = 1; level < levels; ++level) tree = Box("trak", tree);
  return Box("moov", tree);
}

TEST(Mp4File, OpenRefusesAFileForTheseReasons) {
  const Bytes moov = Box("moov");
  const Bytes trailing = Bytes().Add(moov);
  const struct {
    const char* what;
    Bytes content;
    Mp4Result result;
  } cases[] = {
      {"empty file", {}, MP4_NOT_FOUND},
      {"no moov", Bytes().Add(Movie().ftyp).Add(Movie().mdat), MP4_NOT_FOUND},
      {"bare moov", moov, MP4_OK},
      {"garbage of fewer than 8 bytes behind", Bytes(trailing).Text("abcd"), MP4_FILE_IO},
      {"a text file", Bytes().Text("this is a text file\n"), MP4_CORRUPT},
      {"a size below the header", Bytes(moov).U32(4).Text("free"), MP4_CORRUPT},
      {"a child larger than its parent", Bytes(Box("moov", {WithDeclaredSize(Box("free"), 40)})).Zeros(60),
       MP4_CORRUPT},
      {"cut inside mdat", Bytes(moov).Add(WithDeclaredSize(Box("mdat", Bytes().Zeros(9)), 18)), MP4_CORRUPT},
      {"a last box that extends to the end",
       Bytes(moov).Add(WithDeclaredSize(Box("mdat", Bytes().Zeros(9)), 0)), MP4_OK},
      {"a box of 4 GiB", Bytes(LargeBox("mdat", 0x1'0000'0010)).Add(moov), MP4_CORRUPT},
      {"a small box in the large form", Bytes(LargeBox("free", 24, Bytes().Zeros(8))).Add(moov), MP4_OK},
      {"a size that would skip backwards", Bytes(LargeBox("free", 0xFFFF'FFFF'FFFF'FFF0)).Add(moov),
       MP4_FILE_IO},
      {"a size that wraps when it is counted",
       Bytes(LargeBox("url ", 0xFFFF'FFFF'FFFF'FFFE, Bytes().U32(1))).Add(moov), MP4_CORRUPT},
      {"ftyp with half a brand", Bytes(Box("ftyp", Bytes().Text("isom").U32(0).U16(0))).Add(moov),
       MP4_CORRUPT},
      {"ftyp without minor version", Bytes(Box("ftyp", Bytes().Text("isom"))).Add(moov), MP4_CORRUPT},
      {"a misplaced rtp", Box("moov", {Box("rtp ")}), MP4_BAD_BOX},
      {"64 levels", Nested(64), MP4_OK},
      {"65 levels", Nested(65), MP4_CORRUPT},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.what);
    OpenedMovie movie(row.content);
    EXPECT_EQ(movie.result, row.result);
    u32 open = 7;
    EXPECT_EQ(movie->IsOpen(&open), MP4_OK);
    EXPECT_EQ(open, row.result == MP4_OK ? 1u : 0u);
    EXPECT_EQ(movie->Close(), row.result == MP4_OK ? MP4_OK : MP4_NOT_FOUND);
  }
}

TEST(Mp4File, OpenTestsItsArgumentsInOrder) {
  const TempFile good(Movie().Build());
  const TempFile folder;
  std::filesystem::create_directory(folder.Path());
  const std::string missing = good.Name() + "-missing";
  const std::string goodName = good.Name();
  const std::string folderName = folder.Name();
  const std::unique_ptr<CMp4File> file = NewFile();
  EXPECT_EQ(file->Open(nullptr, 9, 9), MP4_BAD_ARGUMENT);
  EXPECT_EQ(file->Open(missing.c_str(), 2, 0), MP4_BAD_ARGUMENT);
  EXPECT_EQ(file->Open(missing.c_str(), 0, 3), MP4_BAD_ARGUMENT);
  EXPECT_EQ(file->Open(missing.c_str(), 0, 0), MP4_FILE_IO);
  EXPECT_EQ(file->Open(folderName.c_str(), 0, 0), MP4_FILE_IO);
  EXPECT_EQ(file->Close(), MP4_NOT_FOUND);
  EXPECT_EQ(file->Open(goodName.c_str(), 0, 0), MP4_OK);
  EXPECT_EQ(file->Open(nullptr, 9, 9), MP4_NOT_FOUND) << "an open file says nothing about arguments";
  EXPECT_EQ(file->Close(), MP4_OK);
  EXPECT_EQ(file->Close(), MP4_NOT_FOUND);
  EXPECT_EQ(file->Open(goodName.c_str(), 0, 0), MP4_OK) << "opened again";
}

// Only the major brand counts, and only these two.
TEST(Mp4File, TypeFollowsTheBrand) {
  const struct {
    const char* brand;
    u32 asked;
    u32 type;
  } cases[] = {{"3gp4", MP4_TYPE_MP4, MP4_TYPE_3GP}, {"3gp5", MP4_TYPE_M4A, MP4_TYPE_3GP},
               {"3gp6", MP4_TYPE_MP4, MP4_TYPE_MP4}, {"M4A ", MP4_TYPE_MP4, MP4_TYPE_MP4},
               {"isom", MP4_TYPE_M4A, MP4_TYPE_M4A}, {"isom", MP4_TYPE_3GP, MP4_TYPE_3GP}};
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.brand) + " asked as " + std::to_string(row.asked));
    Movie movie;
    movie.ftyp = Box("ftyp", Bytes().Text(row.brand).U32(0).Text("3gp4"));
    OpenedMovie file(movie.Build(), row.asked);
    u32 type = 9;
    EXPECT_EQ(file->GetFileType(&type), MP4_OK);
    EXPECT_EQ(type, row.type);
    EXPECT_EQ(file->Close(), MP4_OK);
    type = 9;
    EXPECT_EQ(file->GetFileType(&type), MP4_NOT_FOUND);
    EXPECT_EQ(type, row.type) << "stored all the same";
  }
}

TEST(Mp4File, TracesItsStepsWhenAsked) {
  const Bytes good = Box("moov");
  const Bytes noMovie = Movie().ftyp;
  const TempFile goodFile(good);
  const TempFile noMovieFile(noMovie);
  const auto traced = [](const std::string& name, u32 level, u32 type, Mp4Result expected) {
    const std::unique_ptr<CMp4File> file = NewFile();
    EXPECT_EQ(file->SetTraceLevel(level), MP4_OK);
    EXPECT_EQ(file->SetTraceLevel(3), MP4_BAD_ARGUMENT);
    testing::internal::CaptureStdout();
    EXPECT_EQ(file->Open(name.c_str(), MP4_MODE_READ, type), expected);
    static_cast<void>(file->Close());
    return testing::internal::GetCapturedStdout();
  };
  const auto steps = [](const std::string& name, const char* type, std::size_t size) {
    return "CMp4FileImpl::Open >> File is not yet opened\n"
           "CMp4FileImpl::Open >> Filename " +
           name +
           " is OK\n"
           "CMp4FileImpl::Open >> Filemode READ is OK\n"
           "CMp4FileImpl::Open >> Filetype " +
           type +
           " is OK\n"
           "CMp4FileImpl::Open >> Storage opened successfully\n"
           "CMp4FileImpl::Open >> instanciated BoxList\n"
           "CMp4FileImpl::Open >> Filesize is " +
           std::to_string(size) +
           " Bytes\n"
           "CMp4FileImpl::Open >> All boxes de-serialized\n";
  };
  const std::string goodName = goodFile.Name();
  const std::string noMovieName = noMovieFile.Name();
  EXPECT_EQ(traced(goodName, 0, 0, MP4_OK), "");
  EXPECT_EQ(traced(goodName, 1, 0, MP4_OK), steps(goodName, "MP4", good.size()));
  EXPECT_EQ(traced(goodName, 2, 1, MP4_OK), steps(goodName, "3GP", good.size()));
  EXPECT_EQ(traced(noMovieName, 2, 2, MP4_NOT_FOUND),
            steps(noMovieName, "M4A", noMovie.size()) + "No movie box found in file\n");
}

// A half-read tree is what a person wants to look at when a file is refused.
TEST(Mp4File, AFailedOpenKeepsItsTreeForDump) {
  const TempFile cut(Bytes(Movie().Build()).Text("cut"));
  const TempFile good(Box("moov"));
  const std::string cutName = cut.Name();
  const std::string goodName = good.Name();
  const std::unique_ptr<CMp4File> file = NewFile();
  EXPECT_EQ(DumpOf(file.get(), MP4_NOT_FOUND), "");
  ASSERT_EQ(file->Open(cutName.c_str(), 0, 0), MP4_FILE_IO);
  const std::string partial = DumpOf(file.get());
  EXPECT_NE(partial.find("Box type = ftyp"), std::string::npos);
  EXPECT_NE(partial.find("Box type = stco"), std::string::npos);
  ASSERT_EQ(file->Open((cutName + "-missing").c_str(), 0, 0), MP4_FILE_IO);
  EXPECT_EQ(DumpOf(file.get()), partial) << "nothing took its place yet";

  ASSERT_EQ(file->Open(goodName.c_str(), 0, 0), MP4_OK);
  EXPECT_EQ(DumpOf(file.get()), "\nBox type = moov  Size = 8\n{}\n");
  ASSERT_EQ(file->Close(), MP4_OK);
  EXPECT_EQ(DumpOf(file.get(), MP4_NOT_FOUND), "");
}

TEST(Mp4File, WithoutATreeThereIsNothingToFind) {
  const auto expectNothing = [](CMp4File* file) {
    u32 number = 0;
    char language[3];
    EXPECT_EQ(file->GetMovieTimeScale(&number), MP4_NOT_FOUND);
    EXPECT_EQ(file->GetCopyright(language, nullptr, &number, 0), MP4_NOT_FOUND);
    EXPECT_EQ(file->SetCopyright("und", "notice", 0), MP4_NOT_FOUND);
    EXPECT_EQ(file->GetCreationDate(&number, &number, &number, &number, &number, &number), MP4_NOT_FOUND);
    EXPECT_EQ(file->SetCreationDate(2000, 1, 1, 0, 0, 0), MP4_NOT_FOUND);
    EXPECT_EQ(file->Dump(), MP4_NOT_FOUND);
    CMp4Track* track = nullptr;
    EXPECT_EQ(file->OpenTrack(1, &track), MP4_NOT_FOUND);
    EXPECT_EQ(file->AddTrack(&track), MP4_NOT_FOUND);
    EXPECT_EQ(file->CloseTrack(nullptr), MP4_BAD_ARGUMENT);
    CMp4HintTrack* hint = nullptr;
    EXPECT_EQ(file->OpenHintTrack(1, &hint), MP4_BAD_ARGUMENT);
    EXPECT_EQ(file->AddHintTrack(&hint, 0), MP4_NOT_FOUND);
    EXPECT_EQ(file->CloseHintTrack(nullptr), MP4_BAD_ARGUMENT);
  };
  const std::unique_ptr<CMp4File> fresh = NewFile();
  u32 count = 9;
  EXPECT_EQ(fresh->GetTrackCount(&count), MP4_OK);
  EXPECT_EQ(count, 0u);
  expectNothing(fresh.get());

  OpenedMovie movie{Movie()};
  ASSERT_EQ(movie->Close(), MP4_OK);
  EXPECT_EQ(movie->GetTrackCount(&count), MP4_OK);
  EXPECT_EQ(count, 1u) << "the count outlives the tree";
  expectNothing(movie.operator->());
}

TEST(Mp4File, MovieTimeScaleComesFromMvhd) {
  OpenedMovie movie{Movie()};
  u32 scale = 0;
  EXPECT_EQ(movie->GetMovieTimeScale(&scale), MP4_OK);
  EXPECT_EQ(scale, 1000u);
  OpenedMovie bare(Box("moov"));
  EXPECT_EQ(bare->GetMovieTimeScale(&scale), MP4_NOT_FOUND);
}

TEST(Mp4File, CreationDateOfTheMovie) {
  Movie content;
  content.mvhd = Mvhd(1000, 86400 * 59 + 3723);
  OpenedMovie movie(content);
  u32 date[6] = {};
  const auto get = [&] {
    return movie->GetCreationDate(&date[0], &date[1], &date[2], &date[3], &date[4], &date[5]);
  };
  const auto expectDate = [&date](const std::vector<u32>& expected) {
    EXPECT_EQ(std::vector<u32>(date, date + 6), expected);
  };
  ASSERT_EQ(get(), MP4_OK);
  expectDate({1904, 2, 29, 1, 2, 3});
  EXPECT_EQ(movie->SetCreationDate(2026, 11, 21, 23, 59, 58), MP4_OK);
  EXPECT_EQ(movie->SetCreationDate(2026, 13, 1, 0, 0, 0), MP4_BAD_ARGUMENT);
  ASSERT_EQ(get(), MP4_OK);
  expectDate({2026, 11, 21, 23, 59, 58});
  EXPECT_EQ(movie->SetCreationDate(2200, 1, 1, 0, 0, 0), MP4_OK);
  EXPECT_EQ(get(), MP4_BAD_VALUE) << "one year more can be stored than read";
}

struct Notice {
  Mp4Result result;
  std::string language;
  std::string text;
};

template <class Holder>
Notice NoticeOf(Holder* holder, u32 index) {
  u32 size = 0;
  Notice notice{holder->GetCopyright(nullptr, nullptr, &size, index), "", ""};
  if (notice.result != MP4_OK) return notice;
  char language[3] = {'?', '?', '?'};
  std::vector<char> text(size, '?');
  notice.result = holder->GetCopyright(language, text.data(), &size, index);
  EXPECT_EQ(text.back(), 0);
  notice.language.assign(language, 3);
  notice.text = text.data();
  return notice;
}

template <class Holder>
void ExpectCopyright(Holder* holder) {
  const auto expectNotice = [holder](u32 index, const char* language, const char* text) {
    const Notice notice = NoticeOf(holder, index);
    EXPECT_EQ(notice.result, MP4_OK) << index;
    EXPECT_EQ(notice.language, language) << index;
    EXPECT_EQ(notice.text, text) << index;
  };
  expectNotice(0, "und", "first");
  expectNotice(1, "und", "first");
  expectNotice(2, "deu", "zweiter");
  EXPECT_EQ(NoticeOf(holder, 3).result, MP4_NOT_FOUND);

  EXPECT_EQ(holder->SetCopyright("fra", "deuxi\xC3\xA8me", 2), MP4_OK);
  expectNotice(2, "fra", "deuxi\xC3\xA8me");
  EXPECT_EQ(holder->SetCopyright("ita", "in fondo", 9), MP4_OK) << "a new one goes to the end";
  expectNotice(3, "ita", "in fondo");
  EXPECT_EQ(holder->SetCopyright("Eng", "capital", 4), MP4_BAD_ARGUMENT);
  EXPECT_EQ(NoticeOf(holder, 4).text, "") << "made before the language was looked at";
  EXPECT_EQ(holder->SetCopyright(nullptr, "none", 1), MP4_BAD_ARGUMENT);
  expectNotice(1, "und", "first");
}

TEST(Mp4File, CopyrightOfMovieAndTrack) {
  const Bytes udta = Udta({Cprt("und", "first"), Box("free"), Cprt("deu", "zweiter")});
  Movie content;
  content.udta = udta;
  content.tracks[0].udta = udta;
  OpenedMovie movie(content);
  {
    SCOPED_TRACE("movie");
    ExpectCopyright(movie.operator->());
  }
  SCOPED_TRACE("track");
  ExpectCopyright(movie.OpenTrack().get());
}

TEST(Mp4File, CopyrightMakesTheBoxesThatAreMissing) {
  OpenedMovie movie{Movie()};
  EXPECT_EQ(NoticeOf(movie.operator->(), 0).result, MP4_NOT_FOUND);
  EXPECT_EQ(movie->SetCopyright("eng", "made", 0), MP4_OK);
  EXPECT_EQ(NoticeOf(movie.operator->(), 1).text, "made");
  const std::unique_ptr<CMp4Track> track = movie.OpenTrack();
  EXPECT_EQ(NoticeOf(track.get(), 0).result, MP4_NOT_FOUND);
  EXPECT_EQ(track->SetCopyright("eng", "of the track", 0), MP4_OK);
  EXPECT_EQ(NoticeOf(track.get(), 1).text, "of the track");
}

TEST(Mp4File, TrackIndicesCountFromOne) {
  Movie content;
  content.tracks[0].tkhd = Tkhd(7, 0, 0, 0);
  content.tracks.push_back(Track());
  content.tracks[1].tkhd = Tkhd(5, 0, 0, 0);
  OpenedMovie movie(content);
  u32 count = 0;
  EXPECT_EQ(movie->GetTrackCount(&count), MP4_OK);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(movie.BindResult(0), MP4_NOT_FOUND);
  EXPECT_EQ(movie.BindResult(3), MP4_NOT_FOUND);
  for (const auto& [index, id] : {std::pair<u32, u32>{2, 5}, {1, 7}, {2, 5}}) {
    u32 found = 0;
    EXPECT_EQ(movie.OpenTrack(index)->GetTrackId(&found), MP4_OK);
    EXPECT_EQ(found, id);
  }
  CMp4Track* track = nullptr;
  ASSERT_EQ(movie->OpenTrack(1, &track), MP4_OK);
  EXPECT_EQ(movie->CloseTrack(track), MP4_OK);
}

/// Every operation of a track that has lost its file; none may touch the boxes that have gone.
void ExpectDetached(CMp4Track* track) {
  u8 buffer[16];
  char language[3];
  u16 half[2];
  u32 n[6];
  u64 time = 0;
  const Mp4Result results[] = {
      track->GetSampleCount(n),
      track->GetTrackType(n),
      track->GetSampleFormat(n),
      track->GetTrackId(n),
      track->GetTimeScale(n),
      track->GetDuration(&time),
      track->GetDimensions(&n[0], &n[1]),
      track->GetVideoSize(&half[0], &half[1]),
      track->GetChannelCount(half),
      track->GetSampleRate(n),
      track->GetCopyright(language, nullptr, n, 0),
      track->SetCopyright("und", "", 0),
      track->GetCreationDate(&n[0], &n[1], &n[2], &n[3], &n[4], &n[5]),
      track->SetCreationDate(2000, 1, 1, 0, 0, 0),
      track->GetDecoderSpecificInfo(1, sizeof buffer, n, buffer),
      track->GetDecoderSpecificInfoSize(1, n),
      track->ReadSample(1, sizeof buffer, n, buffer),
      track->GetSampleSize(1, n),
      track->GetSampleDecodingTime(1, &time),
      track->GetSampleCompositionTime(1, &time),
      track->FindSampleByCompositionTime(0, n),
      track->FindSyncSample(0, n),
      track->FindSampleByDecodingTime(0, n),
      track->SetTimeScale(1),
      track->SetDimensions(1, 1),
      track->WriteSample(buffer, 1, 0, 0, 1),
  };
  for (const Mp4Result& result : results) EXPECT_EQ(result, MP4_NOT_READY) << &result - results;
}

TEST(Mp4File, TracksThatOutliveTheirFileAreDetached) {
  Movie content;
  content.tracks.push_back(Track());
  OpenedMovie movie(content);
  std::unique_ptr<CMp4Track> first = movie.OpenTrack(1);
  std::unique_ptr<CMp4Track> second = movie.OpenTrack(2);
  std::unique_ptr<CMp4Track> third = movie.OpenTrack(1);
  EXPECT_EQ(movie->CloseTrack(second.release()), MP4_OK) << "leaves the middle of the list";
  ASSERT_EQ(movie->Close(), MP4_OK);
  ExpectDetached(first.get());
  ExpectDetached(third.get());
  EXPECT_EQ(movie->CloseTrack(first.release()), MP4_OK) << "only deletes it";

  OpenedMovie destroyed(content);
  const std::unique_ptr<CMp4Track> orphan = destroyed.OpenTrack(1);
  destroyed.DestroyFile();
  ExpectDetached(orphan.get());
}

// Searching each "trak" from the first one, when counting or when opening, would take ten thousand million
// steps here: the test then all but hangs.
TEST(Mp4File, ManyEmptyTracksOpenInLinearTime) {
  constexpr u32 kTracks = 200'000;
  Bytes tracks;
  for (u32 i = 0; i < kTracks; ++i) tracks.Add(Box("trak"));
  OpenedMovie movie(Box("moov", tracks));
  ASSERT_EQ(movie.result, MP4_OK);
  u32 count = 0;
  ASSERT_EQ(movie->GetTrackCount(&count), MP4_OK);
  ASSERT_EQ(count, kTracks);
  for (u32 index = 1; index <= kTracks; ++index) ASSERT_EQ(movie.BindResult(index), MP4_NOT_FOUND);
}

}  // namespace
}  // namespace kt
