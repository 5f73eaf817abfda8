#include "tools/report/tree_page.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "tools/report/box_contents.h"
#include "tools/report/html.h"
#include "tools/terminal/shown_text.h"

namespace kt {
namespace {

struct NameRow {
  std::string_view code;
  const char* name;
};
constexpr NameRow kNames[] = {
    {"ftyp", "what the file is"},
    {"styp", "what the piece is"},
    {"moov", "all that is known of the movie"},
    {"mvhd", "the movie as a whole"},
    {"trak", "a track"},
    {"tkhd", "the track as a whole"},
    {"tref", "tracks that this one refers to"},
    {"edts", "edits"},
    {"elst", "list of edits"},
    {"mdia", "the media of the track"},
    {"mdhd", "the media as a whole"},
    {"hdlr", "what kind of media"},
    {"minf", "where the media are, and what"},
    {"vmhd", "pictures"},
    {"smhd", "sound"},
    {"hmhd", "hints for streaming"},
    {"nmhd", "other media"},
    {"gmhd", "other media, of QuickTime"},
    {"dinf", "where the media data are"},
    {"dref", "files that have them"},
    {"url ", "a place"},
    {"stbl", "tables of samples"},
    {"stsd", "how samples are coded"},
    {"stts", "how long each sample lasts"},
    {"ctts", "how much later it is shown"},
    {"stss", "samples where decoding can begin"},
    {"stsz", "sizes of samples"},
    {"stz2", "sizes of samples"},
    {"stsc", "samples in chunks"},
    {"stco", "places of chunks"},
    {"co64", "places of chunks"},
    {"sgpd", "groups of samples"},
    {"sbgp", "samples in groups"},
    {"sdtp", "samples that depend on others"},
    {"esds", "set-up of an MPEG-4 decoder"},
    {"avcC", "set-up of an H.264 decoder"},
    {"hvcC", "set-up of an H.265 decoder"},
    {"d263", "set-up of an H.263 decoder"},
    {"damr", "set-up of an AMR decoder"},
    {"btrt", "bit rates"},
    {"pasp", "shape of a pixel"},
    {"colr", "colours"},
    {"udta", "data of the user"},
    {"meta", "metadata"},
    {"ilst", "list of metadata"},
    {"cprt", "copyright"},
    {"hnti", "session description"},
    {"hinf", "statistics of hints"},
    {"iods", "MPEG-4 object descriptor"},
    {"mvex", "there are fragments"},
    {"trex", "what samples of fragments are by default"},
    {"moof", "a fragment"},
    {"traf", "a track in the fragment"},
    {"trun", "a run of samples"},
    {"sidx", "where pieces begin"},
    {"mfra", "where fragments begin"},
    {"mdat", "media data"},
    {"free", "nothing"},
    {"skip", "nothing"},
    {"wide", "nothing"},
    {"cmov", "a packed movie"},
};

class TreePage {
 public:
  TreePage(FileBytes& file, std::optional<u64> broken) : m_file(file), m_broken(broken) {}

  std::string Take(const TreeBox& root) {
    AddList(root, 0);
    return "<div class=tree>" + m_html + "</div>\n";
  }

 private:
  bool IsBroken(const TreeBox& box) const { return m_broken == box.place.begin; }

  bool HoldsBroken(const TreeBox& box) const {
    return m_broken && *m_broken >= box.place.begin && *m_broken < box.place.End();
  }

  void AddList(const TreeBox& owner, u32 depth) {
    u32 tracks = 0;
    for (const TreeBox& box : owner.children) {
      const bool isTrack = box.place.code == CodeOf("trak");
      AddBox(box, isTrack ? "[" + std::to_string(++tracks) + "]" : "", owner.place.code, depth);
    }
    if (owner.unlisted > 0) m_html += "<div class=leaf>&hellip; " + Grouped(owner.unlisted) + " more</div>\n";
    if (!owner.fault.empty())
      m_html += "<p class=fault>Behind " + std::string(owner.children.empty() ? "the header " : "these ") +
                Html(owner.fault) + "</p>\n";
  }

  void AddBox(const TreeBox& box, const std::string& ordinal, u32 owner, u32 depth) {
    const BoxContents contents = ReadBoxContents(m_file, box.place, owner);
    const bool isLeaf =
        contents.fields.empty() && contents.rows.empty() && box.children.empty() && box.fault.empty();
    const std::string broken = IsBroken(box) ? " broken" : "";
    const std::string id = broken.empty() || m_hasLink ? "" : " id=broken";
    m_hasLink = m_hasLink || !broken.empty();
    if (isLeaf) {
      m_html += "<div class=\"leaf" + broken + "\"" + id + ">" + Line(box, ordinal) + "</div>\n";
      return;
    }
    const bool isOpen = HoldsBroken(box) || (depth == 0 && box.place.code == CodeOf("moov"));
    m_html += std::string("<details") + (broken.empty() ? "" : " class=\"broken\"") + id +
              (isOpen ? " open" : "") + "><summary>" + Line(box, ordinal) + "</summary>\n";
    AddContents(contents);
    AddList(box, depth + 1);
    m_html += "</details>\n";
  }

  static std::string ShownValue(const BoxValue& value) {
    return value.form == BoxValue::Form::kCount ? Grouped(value.text) : value.text;
  }

  static std::string Line(const TreeBox& box, const std::string& ordinal) {
    const auto* const row =
        std::ranges::find(kNames, box.place.code, [](const NameRow& each) { return CodeOf(each.code); });
    return "<code>" + Html(CodeText(box.place.code)) + ordinal + "</code><span class=num>at " +
           Grouped(box.place.begin) + ", " + BytesText(box.place.size) + "</span>" +
           (row == std::end(kNames) ? "" : "<span class=dim>" + std::string(row->name) + "</span>");
  }

  void AddContents(const BoxContents& contents) {
    if (contents.fields.empty() && contents.rows.empty()) return;
    m_html += "<div class=in>";
    if (!contents.fields.empty()) {
      m_html += "<dl>";
      for (const auto& field : contents.fields)
        m_html += "<dt>" + Html(field.name) + "<dd>" + Html(ShownValue(field.value));
      m_html += "</dl>";
    }
    if (!contents.rows.empty()) {
      std::vector<std::vector<std::string>> rows;
      for (const auto& values : contents.rows) {
        std::ranges::transform(values, std::back_inserter(rows.emplace_back()), ShownValue);
      }
      m_html += HtmlTable(contents.columns, rows, contents.rowCount - contents.rows.size());
    }
    m_html += "</div>\n";
  }

  FileBytes& m_file;
  const std::optional<u64> m_broken;
  bool m_hasLink = false;
  std::string m_html;
};

}  // namespace

std::string TreeHtml(FileBytes& file, const TreeBox& root, std::optional<u64> broken) {
  return TreePage(file, broken).Take(root);
}

}  // namespace kt
