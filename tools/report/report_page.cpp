#include "tools/report/report_page.h"

#include <filesystem>

#include "tools/files/adapted_facts.h"
#include "tools/report/drawing.h"
#include "tools/report/html.h"
#include "tools/report/tree_page.h"
#include "tools/terminal/json_text.h"

namespace kt {
namespace {

std::string Card(const std::string& content, const std::string& classes = {}) {
  return "<div class=\"card" + (classes.empty() ? "" : " " + classes) + "\">" + content + "</div>\n";
}

std::string Heading(const std::string& id, const std::string& text) {
  return "<h2 id=" + id + ">" + text + "</h2>\n";
}

// "Track 1: video", with the track's colour.
std::string TrackTitle(const TrackFacts& facts) {
  return "<h3><span class=\"key " + ColourClass(facts.index) + "\"></span>Track " +
         std::to_string(facts.index) + (facts.kind ? ": " + std::string(KindName(*facts.kind)) : "") +
         "</h3>";
}

/// Rows of a list of names and values.
class Rows {
 public:
  Rows& Add(const std::string& name, const std::string& value) {
    if (!value.empty()) m_html += "<dt>" + name + "<dd>" + Html(value);
    return *this;
  }
  std::string Finish() const { return "<dl>" + m_html + "</dl>"; }

 private:
  std::string m_html;
};

std::string CodedAs(const TrackFacts& facts) {
  return facts.code + (facts.coding.empty() ? "" : " (" + facts.coding + ")");
}

std::string SoundText(const TrackFacts& facts) {
  std::string text = facts.rate ? Grouped(*facts.rate) + " Hz" : "";
  if (facts.channels) text += (text.empty() ? "" : ", ") + ChannelText(*facts.channels);
  return text;
}

std::string SyncText(const TrackSeries& series) {
  if (series.samples == 0) return {};
  if (series.syncSamples == series.samples) return "all";
  if (series.syncSamples == 0) return "none";
  return Grouped(series.syncSamples) + " of " + Grouped(series.samples) + ", at most " +
         ShortNumber(series.longestGap) + " s apart";
}

std::string TrackCard(const TrackFacts& facts, const FileReport::TrackReport& track) {
  Rows rows;
  rows.Add("coded as", CodedAs(facts)).Add("picture", PictureText(facts));
  if (facts.rotation) rows.Add("shown", RotationText(*facts.rotation));
  rows.Add("sound", SoundText(facts));
  if (facts.samples) {
    rows.Add("samples", Grouped(*facts.samples) + (facts.bytes ? ", " + SizeText(*facts.bytes) : ""));
  }
  rows.Add("sync samples", SyncText(track.series));
  if (facts.bitRate) rows.Add("bit rate", BitRateText(*facts.bitRate));
  if (facts.seconds) rows.Add("lasts", TimeText(*facts.seconds));
  if (facts.start.value_or(0) != 0) rows.Add("first shown at", TimeText(*facts.start));
  rows.Add("language", facts.language).Add("name", facts.handlerName);
  if (facts.timeScale) rows.Add("time scale", Grouped(*facts.timeScale) + " ticks a second");
  if (facts.id) rows.Add("id", std::to_string(*facts.id));
  if (facts.adapted) {
    for (const std::string& note : NoteTexts(*facts.adapted)) rows.Add("adapted", note);
  }
  for (const std::string& fault : {track.fault, track.series.fault}) rows.Add("not readable", fault);
  return Card(TrackTitle(facts) + rows.Finish());
}

class Page {
 public:
  Page(const FileReport& report, FileBytes& file) : m_report(report), m_facts(report.facts), m_file(file) {}

  std::string Make() {
    const std::string name = std::filesystem::path(m_report.name).filename().string();
    AddSections();
    m_html = "<h1>" + Html(name) + "</h1>\n" + Glance() + Banners() + "<nav>" + m_links + "</nav>\n" + m_html;
    return PageHead(name) + m_html + PageEnd();
  }

 private:
  void Section(const std::string& id, const std::string& title, const std::string& content) {
    if (content.empty()) return;
    m_links += "<a href=\"#" + id + "\">" + title + "</a>";
    m_html += Heading(id, title) + content;
  }

  void AddSections() {
    Section("tracks", "Tracks", Tracks());
    Section("rates", "Bit rate over the time", BitRates());
    Section("sizes", "Sizes of samples", Sizes());
    Section("layout", "Layout in the file", Layout());
    Section("edits", "Edits and delays", Edits());
    Section("captions", "Captions", Texts(&FileReport::TrackReport::captions));
    Section("packets", "Hint packets", Texts(&FileReport::TrackReport::packets));
    std::optional<u64> broken;
    if (m_report.diagnosis && !m_report.diagnosis->path.empty()) broken = m_report.diagnosis->offset;
    Section("boxes", "Boxes", Card(TreeHtml(m_file, m_report.boxes, broken)));
  }

  std::string Glance() const {
    std::string html = "<div class=glance><span><b>" + SizeText(m_report.size) + "</b> (" +
                       BytesText(m_report.size) + ")</span>";
    const auto add = [&](const std::string& label, const std::string& value) {
      if (!value.empty()) html += "<span>" + label + " <b>" + Html(value) + "</b></span>";
    };
    if (!m_report.refusal.empty()) return html + "</div>\n";
    if (m_facts.seconds) add("lasts", TimeText(*m_facts.seconds));
    add("tracks", std::to_string(m_facts.tracks.size()));
    std::string brands;
    for (const std::string& brand : m_facts.brands) brands += (brands.empty() ? "" : ", ") + brand;
    add("brands", brands);
    if (m_facts.created) add("created", DateText(*m_facts.created, ' '));
    if (m_facts.isAdapted) add("read with", "--adapt");
    return html + "</div>\n";
  }

  std::string Banners() const {
    std::string html;
    if (!m_report.refusal.empty()) {
      const bool hasLink = m_report.diagnosis && !m_report.diagnosis->path.empty();
      html += Card("<b>This file was refused.</b> " + Html(m_report.refusal) +
                       (hasLink ? " &mdash; <a href=\"#broken\">to the box</a>" : ""),
                   "bad");
    }
    for (const std::string& note : m_report.notes) html += Card(Html(note), "note");
    return html;
  }

  // One piece for each track that has something to show.
  template <class Make>
  std::string ForEachTrack(Make make) const {
    std::string html;
    for (std::size_t i = 0; i < m_report.tracks.size(); ++i)
      html += make(m_facts.tracks[i], m_report.tracks[i]);
    return html;
  }

  std::string Tracks() const {
    std::string html = ForEachTrack(TrackCard);
    for (const AdaptedTrack& track : m_facts.leftOut) {
      Rows rows;
      for (const std::string& note : NoteTexts(track)) rows.Add("left out", note);
      html +=
          Card("<h3>In place " + std::to_string(track.positionInFile) + " of the file</h3>" + rows.Finish());
    }
    return html.empty() ? html : "<div class=cards>" + html + "</div>\n";
  }

  std::string BitRates() const {
    const std::string html = ForEachTrack([](const TrackFacts& facts, const FileReport::TrackReport& track) {
      const std::string picture = BitRatePicture(track.series, facts.index);
      return picture.empty() ? picture : "<figure class=card>" + TrackTitle(facts) + picture + "</figure>\n";
    });
    return html.empty()
               ? html
               : "<p class=dim>The broken line is the mean; the short lines below are sync samples, where "
                 "decoding can begin.</p>\n" +
                     html;
  }

  std::string Sizes() const {
    const std::string html = ForEachTrack([](const TrackFacts& facts, const FileReport::TrackReport& track) {
      if (track.series.samples == 0) return std::string();
      const std::string mark =
          track.series.syncSamples < track.series.samples ? "; sync samples in full colour" : "";
      return "<figure class=card>" + TrackTitle(facts) + SizesPicture(track.series, facts.index) +
             "<figcaption>How many samples have which size, in bytes from there on" + mark +
             "</figcaption></figure>\n";
    });
    return html.empty() ? html : "<div class=cards>" + html + "</div>\n";
  }

  std::string Layout() const {
    std::vector<DrawnTrack> tracks;
    std::string legend;
    for (std::size_t i = 0; i < m_report.tracks.size(); ++i) {
      if (m_report.tracks[i].series.places.empty()) continue;
      tracks.push_back({m_facts.tracks[i].index, &m_report.tracks[i].series});
      legend += "<span><span class=\"key " + ColourClass(tracks.back().index) + "\"></span>Track " +
                std::to_string(tracks.back().index) + ", " + Grouped(m_report.tracks[i].series.pieces) +
                (m_report.tracks[i].series.pieces == 1 ? " piece" : " pieces") + "</span>";
    }
    std::string html = Card(FileMap(m_report.boxes, m_report.size));
    if (tracks.empty()) return html;
    std::string caption = "Where in the file (from left to right) which time (from below to above) lies.";
    constexpr std::size_t kMostCompared = 20;  // each with each
    if (tracks.size() > 1 && tracks.size() <= kMostCompared) {
      caption += " What two tracks have for the same time is at most " + SizeText(LargestDistance(tracks)) +
                 " apart.";
    }
    return html + "<figure class=card>" + LayoutPicture(tracks, m_report.size) + "<div class=legend>" +
           legend + "</div><figcaption>" + caption + "</figcaption></figure>\n";
  }

  std::string Edits() const {
    const std::string html = ForEachTrack([](const TrackFacts& facts, const FileReport::TrackReport&) {
      if (facts.edits.empty() && facts.start.value_or(0) == 0) return std::string();
      std::string list;
      for (const Edit& edit : facts.edits) list += "<li>" + Html(EditText(edit));
      if (facts.editCount > facts.edits.size()) {
        list += "<li>&hellip; " + Grouped(facts.editCount - facts.edits.size()) + " more";
      }
      std::string card = TrackTitle(facts) + (list.empty() ? "" : "<ol>" + list + "</ol>");
      if (facts.start)
        card += "<p class=dim>Its first sample is shown at " + TimeText(*facts.start) + ".</p>";
      return Card(card);
    });
    return html.empty() ? html : "<div class=cards>" + html + "</div>\n";
  }

  using TextsOfTrack = decltype(&FileReport::TrackReport::captions);
  std::string Texts(TextsOfTrack texts) const {
    return ForEachTrack([texts](const TrackFacts& facts, const FileReport::TrackReport& track) {
      const TrackTexts& shown = track.*texts;
      if (shown.columns.empty()) return std::string();
      std::string html = TrackTitle(facts) + HtmlTable(shown.columns, shown.rows, 0);
      if (shown.samplesLeft > 0) {
        html += "<p class=dim>&hellip; and what is in " + Grouped(shown.samplesLeft) + " further samples</p>";
      }
      if (!shown.fault.empty()) html += "<p class=fault>" + Html(shown.fault) + "</p>";
      return Card(html);
    });
  }

  const FileReport& m_report;
  const FileFacts& m_facts;
  FileBytes& m_file;
  std::string m_html;
  std::string m_links;
};

}  // namespace

std::string ReportPage(const FileReport& report, FileBytes& file) {
  return Page(report, file).Make();
}

}  // namespace kt
