#include <ktmp4/mp4_file.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "support/movie_builder.h"

namespace kt::test {
namespace {

std::string DumpOf(CMp4File* file, Mp4Result expected = MP4_OK) {
  return Printed([&] { return file->Dump(); }, expected);
}

TEST(Mp4File, OpenTestsItsArgumentsInOrder) {
  const TempFile good(Movie().Build()), empty{Bytes()};
  const std::string name = good.Name(), missing = name + "-missing";
  const std::unique_ptr<CMp4File> file = NewFile();
  EXPECT_EQ(file->Open(nullptr, 9, 9), MP4_BAD_ARGUMENT);
  EXPECT_EQ(file->Open(missing.c_str(), 2, 0), MP4_BAD_ARGUMENT);
  EXPECT_EQ(file->Open(missing.c_str(), 0, 3), MP4_BAD_ARGUMENT);
  EXPECT_EQ(file->Open(missing.c_str(), 0, 0), MP4_FILE_IO);
  EXPECT_EQ(Got(*file, &CMp4File::IsOpen), 0u);
  ExpectEach(MP4_NOT_FOUND, {file->Open(empty.Name().c_str(), 0, 0), file->Close()});
  EXPECT_EQ(file->Open(name.c_str(), 0, 0), MP4_OK);
  EXPECT_EQ(file->Open(nullptr, 9, 9), MP4_NOT_FOUND) << "an open file says nothing about arguments";
  EXPECT_EQ(file->Close(), MP4_OK);
  EXPECT_EQ(file->Open(name.c_str(), 0, 0), MP4_OK) << "opened again";
}

// Only the major brand counts, and only these two.
TEST(Mp4File, TypeFollowsTheBrand) {
  const std::tuple<const char*, u32, u32> cases[] = {
      {"3gp4", MP4_TYPE_MP4, MP4_TYPE_3GP}, {"3gp5", MP4_TYPE_M4A, MP4_TYPE_3GP},
      {"3gp6", MP4_TYPE_MP4, MP4_TYPE_MP4}, {"M4A ", MP4_TYPE_MP4, MP4_TYPE_MP4},
      {"isom", MP4_TYPE_M4A, MP4_TYPE_M4A}, {"isom", MP4_TYPE_3GP, MP4_TYPE_3GP}};
  for (const auto& [brand, asked, type] : cases) {
    Movie movie;
    movie.ftyp = Box("ftyp", Bytes().Text(brand).U32(0).Text("3gp4"));
    OpenedMovie file(movie.Build(), asked);
    EXPECT_EQ(Got(*file, &CMp4File::GetFileType), type) << brand << " asked as " << asked;
    EXPECT_EQ(file->Close(), MP4_OK);
    EXPECT_EQ(Ask(*file, &CMp4File::GetFileType), (Answer<u32>{MP4_NOT_FOUND, type}))
        << "stored all the same";
  }
}

TEST(Mp4File, TracesItsStepsWhenAsked) {
  const std::tuple<Bytes, u32, u32, Mp4Result, std::string, std::string> cases[] = {
      {Box("moov"), 0, 0, MP4_OK, "MP4", ""},
      {Box("moov"), 1, 0, MP4_OK, "MP4", ""},
      {Box("moov"), 2, 1, MP4_OK, "3GP", ""},
      {Movie().ftyp, 2, 2, MP4_NOT_FOUND, "M4A", "No movie box found in file\n"}};
  for (const auto& [content, level, type, result, typeName, end] : cases) {
    const TempFile temp(content);
    const std::unique_ptr<CMp4File> file = NewFile();
    EXPECT_EQ(file->SetTraceLevel(level), MP4_OK);
    EXPECT_EQ(file->SetTraceLevel(3), MP4_BAD_ARGUMENT);
    const std::string printed =
        Printed([&, type = type] { return file->Open(temp.Name().c_str(), MP4_MODE_READ, type); }, result);
    const std::string head = "CMp4FileImpl::Open >> ";
    const std::string expected =
        head + "File is not yet opened\n" + head + "Filename " + temp.Name() + " is OK\n" + head +
        "Filemode READ is OK\n" + head + "Filetype " + typeName + " is OK\n" + head +
        "Storage opened successfully\n" + head + "instanciated BoxList\n" + head + "Filesize is " +
        std::to_string(content.size()) + " Bytes\n" + head + "All boxes de-serialized\n";
    EXPECT_EQ(printed, level == 0 ? "" : expected + end);
  }
}

// A half-read tree is what a person wants to look at when a file is refused. The number of tracks is that of
// the last file that could be opened, the tracks are those of the tree.
TEST(Mp4File, AFailedOpenKeepsItsTreeUntilTheNext) {
  Movie content;
  content.tracks.push_back(Track());
  const TempFile one(Movie().Build()), cut(content.Build().Text("cut"));
  const std::unique_ptr<CMp4File> file = NewFile();
  CMp4Track* opened = nullptr;
  CMp4HintTrack* hint = nullptr;
  EXPECT_EQ(DumpOf(file.get(), MP4_NOT_FOUND), "");
  ASSERT_EQ(file->Open(cut.Name().c_str(), 0, 0), MP4_FILE_IO);
  const std::string partial = DumpOf(file.get());
  EXPECT_NE(partial.find("Box type = stco"), std::string::npos);
  EXPECT_EQ(file->OpenTrack(1, &opened), MP4_NOT_FOUND) << "none is counted yet";
  ASSERT_EQ(file->Open((cut.Name() + "-missing").c_str(), 0, 0), MP4_FILE_IO);
  EXPECT_EQ(DumpOf(file.get()), partial) << "nothing took its place yet";
  ASSERT_EQ(file->Open((cut.Name() + "-missing/file").c_str(), MP4_MODE_WRITE, 0), MP4_FILE_IO);
  EXPECT_EQ(file->AddTrack(&opened), MP4_NOT_FOUND) << "to a tree of no open file";
  EXPECT_EQ(file->AddHintTrack(&hint, 0), MP4_NOT_FOUND);
  ASSERT_EQ(file->Open(one.Name().c_str(), 0, 0), MP4_OK);
  EXPECT_LT(DumpOf(file.get()).size(), partial.size());
  ASSERT_EQ(file->Close(), MP4_OK);
  EXPECT_EQ(DumpOf(file.get(), MP4_NOT_FOUND), "");
  ASSERT_EQ(file->Open(cut.Name().c_str(), 0, 0), MP4_FILE_IO);
  EXPECT_EQ(file->OpenTrack(2, &opened), MP4_NOT_FOUND);
  ASSERT_EQ(file->OpenTrack(1, &opened), MP4_OK);
  const std::unique_ptr<CMp4Track> track(opened);
  EXPECT_EQ(Got(*track, &CMp4Track::GetSampleCount), 4u);
  SampleOf(*track, 1, MP4_FILE_IO);  // the file is not open
  ASSERT_EQ(file->Open(one.Name().c_str(), 0, 0), MP4_OK);
  EXPECT_EQ(Ask(*track, &CMp4Track::GetSampleCount).result, MP4_NOT_READY);
}

TEST(Mp4File, WithoutATreeThereIsNothingToFind) {
  OpenedMovie movie{Movie()};
  ASSERT_EQ(movie->Close(), MP4_OK);
  u32 n[6];
  char language[3];
  CMp4Track* track = nullptr;
  CMp4HintTrack* hint = nullptr;
  const std::unique_ptr<CMp4File> fresh = NewFile();
  for (CMp4File* file : {fresh.get(), &*movie}) {
    ExpectEach(MP4_NOT_FOUND,
               {file->GetMovieTimeScale(n), file->GetCopyright(language, nullptr, n, 0),
                file->SetCopyright("und", "notice", 0), file->SetCreationDate(2000, 1, 1, 0, 0, 0),
                file->Dump(), file->GetCreationDate(&n[0], &n[1], &n[2], &n[3], &n[4], &n[5]),
                file->OpenTrack(1, &track), file->AddTrack(&track), file->AddHintTrack(&hint, 0)});
  }
  EXPECT_EQ(movie->CloseTrack(nullptr), MP4_BAD_ARGUMENT);
  EXPECT_EQ(movie->OpenHintTrack(1, &hint), MP4_BAD_ARGUMENT);
  EXPECT_EQ(movie->CloseHintTrack(nullptr), MP4_BAD_ARGUMENT);
  EXPECT_EQ(Got(*movie, &CMp4File::GetTrackCount), 1u) << "the count outlives the tree";
}

// Of the movie header, and of the media header for a track.
TEST(Mp4File, CreationDates) {
  Movie content;
  content.mvhd = Mvhd(1000, 86400 * 59 + 3723);
  content.tracks[0].mdhd = Mdhd(1000, 40, 86400);
  OpenedMovie movie(content);
  using Date = std::vector<u32>;
  const auto dateOf = [](auto&& holder, Mp4Result expected = MP4_OK) {
    Date d(6);
    EXPECT_EQ(holder->GetCreationDate(&d[0], &d[1], &d[2], &d[3], &d[4], &d[5]), expected);
    return d;
  };
  EXPECT_EQ(dateOf(movie.OpenTrack()), (Date{1904, 1, 2, 0, 0, 0}));
  EXPECT_EQ(dateOf(&*movie), (Date{1904, 2, 29, 1, 2, 3}));
  EXPECT_EQ(movie.OpenTrack()->SetCreationDate(1999, 12, 31, 0, 0, 0), MP4_OK);
  EXPECT_EQ(movie->SetCreationDate(2026, 11, 21, 23, 59, 58), MP4_OK);
  EXPECT_EQ(movie->SetCreationDate(2026, 13, 1, 0, 0, 0), MP4_BAD_ARGUMENT);
  EXPECT_EQ(dateOf(movie.OpenTrack()), (Date{1999, 12, 31, 0, 0, 0}));
  EXPECT_EQ(dateOf(&*movie), (Date{2026, 11, 21, 23, 59, 58}));
  EXPECT_EQ(movie->SetCreationDate(2200, 1, 1, 0, 0, 0), MP4_OK);
  dateOf(&*movie, MP4_BAD_VALUE);  // one year more can be stored than read
}

/// The language and the text of a notice; the number of the result when there is none.
template <class Holder>
std::string NoticeOf(Holder* holder, u32 index) {
  u32 size = 0;
  Mp4Result result = holder->GetCopyright(nullptr, nullptr, &size, index);
  if (result != MP4_OK) return std::to_string(result);
  char language[] = "???";
  std::vector<char> text(size, '?');
  EXPECT_EQ(holder->GetCopyright(language, text.data(), &size, index), MP4_OK);
  EXPECT_EQ(text.back(), 0);
  return std::string(language) + text.data();
}

const std::string kNoNotice = std::to_string(MP4_NOT_FOUND);

template <class Holder>
void ExpectCopyright(Holder* holder) {
  const char* notices[] = {"undfirst", "undfirst", "deuzweiter"};
  for (u32 index = 0; index < 3; ++index) EXPECT_EQ(NoticeOf(holder, index), notices[index]);
  EXPECT_EQ(NoticeOf(holder, 3), kNoNotice);
  EXPECT_EQ(holder->SetCopyright("fra", "deuxi\xC3\xA8me", 2), MP4_OK);
  EXPECT_EQ(NoticeOf(holder, 2), "fradeuxi\xC3\xA8me");
  EXPECT_EQ(holder->SetCopyright("ita", "in fondo", 9), MP4_OK) << "a new one goes to the end";
  EXPECT_EQ(NoticeOf(holder, 3), "itain fondo");
  EXPECT_EQ(holder->SetCopyright("Eng", "capital", 4), MP4_BAD_ARGUMENT);
  EXPECT_EQ(NoticeOf(holder, 4).substr(3), "") << "made before the language was looked at";
  EXPECT_EQ(holder->SetCopyright(nullptr, "none", 1), MP4_BAD_ARGUMENT);
  EXPECT_EQ(NoticeOf(holder, 1), "undfirst");
}

TEST(Mp4File, CopyrightOfMovieAndTrack) {
  Movie content;
  content.udta = content.tracks[0].udta = Udta({Cprt("und", "first"), Box("free"), Cprt("deu", "zweiter")});
  OpenedMovie movie(content);
  ExpectCopyright(&*movie);
  ExpectCopyright(movie.OpenTrack().get());
}

/// Operations of a track that has lost its file; none may touch the boxes that have gone.
void ExpectDetached(CMp4Track& track) {
  u8 buffer[16];
  char language[3];
  u16 half[2];
  u32 n[6];
  u64 time = 0;
  ExpectEach(MP4_NOT_READY, {track.GetSampleCount(n), track.GetTrackType(n), track.GetSampleFormat(n),
                             track.GetTrackId(n), track.GetTimeScale(n), track.GetSampleRate(n),
                             track.GetDuration(&time), track.GetDimensions(&n[0], &n[1]),
                             track.GetVideoSize(&half[0], &half[1]), track.GetChannelCount(half)});
  ExpectEach(
      MP4_NOT_READY,
      {track.GetCopyright(language, nullptr, n, 0), track.SetCopyright("und", "", 0),
       track.SetCreationDate(2000, 1, 1, 0, 0, 0), track.GetDecoderSpecificInfo(1, sizeof buffer, n, buffer),
       track.GetSampleSize(1, n), track.ReadSample(1, sizeof buffer, n, buffer),
       track.GetSampleDecodingTime(1, &time), track.FindSyncSample(0, n),
       track.FindSampleByDecodingTime(0, n), track.SetTimeScale(1), track.WriteSample(buffer, 1, 0, 0, 1)});
}

TEST(Mp4File, TracksThatOutliveTheirFileAreDetached) {
  Movie content;
  content.tracks.push_back(Track());
  content.tracks[0].tkhd = Tkhd(7, 640, 480, 1234);
  OpenedMovie movie(content);
  for (const u32 none : {0u, 3u}) EXPECT_EQ(movie.BindResult(none), MP4_NOT_FOUND) << none;
  std::unique_ptr<CMp4Track> first = movie.OpenTrack(1);
  std::unique_ptr<CMp4Track> second = movie.OpenTrack(2);
  std::unique_ptr<CMp4Track> third = movie.OpenTrack(1);
  EXPECT_EQ(movie->CloseTrack(second.release()), MP4_OK) << "leaves the middle of the list";
  EXPECT_EQ(Got(*third, &CMp4Track::GetTrackId), 7u);
  ASSERT_EQ(movie->Close(), MP4_OK);
  ExpectDetached(*first);
  ExpectDetached(*third);
  EXPECT_EQ(movie->CloseTrack(first.release()), MP4_OK) << "only deletes it";

  OpenedMovie destroyed(content);
  const std::unique_ptr<CMp4Track> orphan = destroyed.OpenTrack(1);
  destroyed.DestroyFile();
  ExpectDetached(*orphan);
}

TEST(Mp4File, TheMoviesSessionDescriptionIsCopiedWhenItFits) {
  Movie movie;
  movie.udta = Udta({Box("hnti", {Box("rtp ", Bytes().Text("sdp a=1\r\n"))})});
  OpenedMovie read(movie);
  ASSERT_EQ(read.result, MP4_OK);
  char text[7] = "";
  EXPECT_EQ(read->GetMovieSdp(text, 5), MP4_BUFFER_TOO_SMALL) << "the terminator needs a place";
  EXPECT_EQ(read->GetMovieSdp(text, 6), MP4_OK);
  EXPECT_STREQ(text, "a=1\r\n");
  EXPECT_EQ(OpenedMovie(Movie())->GetMovieSdp(text, 6), MP4_NOT_FOUND);
}

}  // namespace
}  // namespace kt::test
