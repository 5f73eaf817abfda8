#include "filter/logic/line21_text_decoder.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/line21_script.h"

namespace kt {
namespace {

using test::Line21Pairs;

/// Feeds a decoder and writes down what comes out: a screen text with "/" for each line break, a row behind
/// the number of the pair that completed it ("3:Hi"), counted from 1.
class Caption final : CaptionReceiver {
 public:
  std::vector<std::string> Feed(std::string_view script) {
    log.clear();
    for (const test::Line21Pair& pair : Line21Pairs(script)) decoder.Decode(pair.data(), 2, ++m_pairs);
    return log;
  }
  std::vector<std::string> Repeat(std::string_view script, int times) {
    std::string scripts;
    for (int i = 0; i < times; ++i) scripts += script;
    return Feed(scripts);
  }

  std::vector<std::string> log;
  Line21TextDecoder decoder{*this};

 private:
  void SendScreenText(const char* text) override {
    std::string line = text;
    for (std::size_t at; (at = line.find("<br>")) != std::string::npos;) line.replace(at, 4, "/");
    log.push_back(line);
  }
  void AddCaptionText(i64 time, const char* text) override {
    log.push_back(std::to_string(time) + ":" + text);
  }

  i64 m_pairs = 0;
};

using Log = std::vector<std::string>;

TEST(Line21TextDecoder, DecodesScripts) {
  static constexpr std::pair<const char*, const char*> kRows[] = {
      // Pop-on captions appear at their end.
      // Text ahead of the first command is dropped.
      {"Hi{-}", ""},
      // One row, commands doubled.
      {"{RCL}{RCL}{ENM}{PAC}Hi{EOC}{EOC}", "/ ///Hi 6:Hi"},
      // Two rows.
      {"{RCL}{PAC}One{PAC}Two{EOC}", "/ //One/Two 8:One 8:Two"},
      // Of five rows the first is lost.
      {"{RCL}a{PAC}b{PAC}c{PAC}d{PAC}e{EOC}", "/ b/c/d/e 11:b 11:c 11:d 11:e"},
      // An address without a row ahead moves nothing.
      {"{RCL}{PAC}{ENM}{PAC}a{EOC}", "/ ///a 6:a"},
      // A carriage return moves nothing.
      {"{RCL}a{CR}b{EOC}", "/ ///ab 5:ab"},
      // An empty last row is emitted all the same.
      {"{RCL}a{PAC}{EOC}{-}", "/ //a/ 4:a 4:"},
      // Loading anew forgets the count, not the rows.
      {"{RCL}a{PAC}b{RCL}c{EOC}", "/ //a/bc 7:bc"},
      // The memories change places.
      {"{RCL}a{EOC}b{EOC}c{EOC}", "/ ///a 3:a ///b 5:b ///ac 7:ac"},
      // Erasing the screen empties the memory that was shown.
      {"{RCL}a{EOC}{EDM}{EOC}c{EOC}", "/ ///a 3:a / /// 5: ///c 7:c"},

      // Roll-up rows go out as they scroll away.
      // Each pair sends the screen, a return the row.
      {"{RU2}One{CR}b{CR}", "///On ///One 4:One //One/ //One/b 6:b /One/b/"},
      // The depth is not looked at.
      {"{RU2}a{CR}b{CR}c{CR}d{CR}e",
       "///a 3:a //a/ //a/b 5:b /a/b/ /a/b/c 7:c a/b/c/ a/b/c/d 9:d b/c/d/ b/c/d/e"},
      // A return on an empty row moves nothing.
      {"{RU2}a{CR}{RU2}{CR}", "///a 3:a //a/ //a/ //a/"},
      // An address moves nothing.
      {"{RU2}a{PAC}b", "///a ///a ///ab"},
      // The screen is sent again for pairs without data.
      {"{RU2}a{-}{-}", "///a ///a ///a"},
      // From another mode the screen is cleared.
      {"{RCL}a{RU3}b{RCL}{RU4}c", "/ / ///b / /// / ///c"},
      // An end of caption shows, clears and goes over to pop-on.
      {"{RU2}a{EOC}b{EOC}c{EOC}", "///a ///a / ///b 5:b ///ac 7:ac"},

      // Paint-on rows go out at the next address.
      // A row goes out at the next address.
      {"{RDC}a{PAC}b{PAC}", "///a 3:a //a/ //a/b 5:b /a/b/"},
      // A carriage return moves nothing.
      {"{RDC}a{CR}b", "///a ///a ///ab"},
      // Rows are dropped on the way in, but not from the screen.
      {"{RU2}a{RDC}b", "///a /// ///b"},
      // They are kept when the mode stays.
      {"{RDC}a{RDC}b", "///a ///a ///ab"},
      // The screen is sent again for pairs without data.
      {"{RDC}a{-}", "///a ///a"},
      // Loading clears the screen.
      {"{RDC}a{RCL}b{EOC}", "///a / /// ///b 5:b"},

      // Commands on text.
      // Backspace.
      {"{RU2}ab{BS}c", "///ab ///a ///ac"},
      // Backspace on an empty row.
      {"{RU2}{BS}a", "/// ///a"},
      // Tabs.
      {"{RU2}a{TO1}{TO2}{TO3}b", "///a ///a\t ///a\t\t\t ///a\t\t\t\t\t\t ///a\t\t\t\t\t\tb"},
      // Erasing the rows.
      {"{RU2}a{ENM}b", "///a /// ///b"},
      // Text mode is no caption.
      {"{RU2}{TR}ab{RU2}c", "/// /// /// ///c"},
      // Nor is resumed text mode.
      {"{RDC}{RTD}ab{RDC}c", "/// /// /// ///c"},
      // Loading ends text mode.
      {"{RCL}{RTD}a{RCL}b{EOC}", "/ ///b 6:b"},
      // So does an end of caption.
      {"{RCL}{RTD}a{EOC}b{EOC}", "/ /// 4: ///b 6:b"},
      // What is not decoded changes nothing.
      {"{RU2}a{1422}{1423}{1424}{1428}{1130}{1240}{1724}{1521}",
       "///a ///a ///a ///a ///a ///a ///a ///a ///a"},

      // A pair that is sent twice acts once.
      // Sent three times.
      {"{RU2}abcd{BS}{BS}{BS}", "///ab ///abcd ///abc"},
      // With a character between.
      {"{RU2}abcd{BS}e{BS}", "///ab ///abcd ///abc ///abce ///abc"},
      // With another command between.
      {"{RU2}abcd{BS}{PAC}{BS}", "///ab ///abcd ///abc ///abc ///ab"},
      // Silence between does not count.
      {"{RU2}ab{BS}{-}{BS}", "///ab ///a ///a"},
      // Nor does a command of channel 2.
      {"{RU2}ab{BS}{2:RU3}{BS}c", "///ab ///a ///ac"},
      // But its text does.
      {"{RU2}ab{BS}{2:RU3}x{BS}c", "///ab ///a ///c"},

      // Channel 2 and bad parity are dropped.
      // Text and commands of channel 2.
      {"{RU2}a{2:RU2}b{2:CR}c{RU2}d", "///a ///ad"},
      // A pair in two halves.
      {"{#8094}{#2580}a", "/// ///a"},
      // Parity in the first byte.
      {"{RU2}ab{#00E5}cd{RU2}ef", "///ab ///abef"},
      // Parity in the second.
      {"{RU2}ab{#E500}cd{RU2}ef", "///ab ///abef"},
  };
  for (const auto& [script, expected] : kRows) {
    std::string told;
    for (const std::string& line : Caption().Feed(script)) told += (told.empty() ? "" : " ") + line;
    EXPECT_EQ(told, expected) << script;
  }
}

// 120 calls are not enough for anything, the 121st clears the screen once.
TEST(Line21TextDecoder, SilenceClearsTheScreen) {
  Caption caption;
  EXPECT_EQ(caption.Repeat("{-}", 120), Log());
  EXPECT_EQ(caption.Repeat("{-}", 300), Log{"/"});
  caption.Feed("{RCL}ab");
  EXPECT_EQ(caption.Repeat("{-}", 120), Log());
  EXPECT_EQ(caption.Repeat("{-}", 300), Log{"/"});
  EXPECT_EQ(caption.Feed("{EOC}{-}"), (Log{"///", "843:"})) << "silence erases the rows";

  Caption rollUp;
  rollUp.Feed("{RU2}ab");
  EXPECT_EQ(rollUp.Repeat("{-}", 120), Log(120, "///ab"));
  rollUp.log.clear();
  rollUp.decoder.Decode(nullptr, 0, 0);
  EXPECT_EQ(rollUp.log, (Log{"/", "///"})) << "a call without bytes is silence; empty rows are sent again";
  rollUp.Repeat("{-}", 120);
  EXPECT_EQ(rollUp.Feed("cd"), Log{"///cd"});
  EXPECT_EQ(rollUp.Repeat("{-}", 120), Log(120, "///cd")) << "data starts the count anew";
}

TEST(Line21TextDecoder, BadParityClearsTheScreenButNotTheRows) {
  Caption caption;
  caption.Feed("{RU2}ab");
  EXPECT_EQ(caption.Repeat("{#0000}", 120), Log());
  EXPECT_EQ(caption.Repeat("{#0000}", 300), Log{"/"});
  EXPECT_EQ(caption.Feed("{RU2}cd"), Log{"///abcd"});
  // Both sorts count together.
  caption.Repeat("{#0000}", 60);
  EXPECT_EQ(caption.Repeat("{-}", 61), Log{"/"});
}

TEST(Line21TextDecoder, ARowHasABound) {
  Caption caption;
  caption.Feed("{RU2}" + std::string(1021, 'a'));
  const std::string full = std::string(1021, 'a') + "\t\t\t";
  EXPECT_EQ(caption.Feed("{TO2}{TO3}bcd{CR}").back(), "//" + full + "/");
  const std::string& row = caption.log[caption.log.size() - 2];
  EXPECT_EQ(row.substr(row.find(':') + 1), full);
}

// A file may have two caption tracks, each with a worker.
TEST(Line21TextDecoder, TwoWorkersShareIt) {
  Caption caption;
  caption.Feed("{RU2}");
  const auto work = [&] {
    const u8 silence[] = {0x80, 0x80};
    for (int i = 0; i < 200'000; ++i) caption.decoder.Decode(silence, 2, 0);
  };
  std::thread other(work);
  work();
  other.join();
  // Each pair sends the screen, and the first two seconds' end clears it.
  EXPECT_EQ(caption.log.size(), 400'001u);
}

}  // namespace
}  // namespace kt
