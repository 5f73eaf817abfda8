#include "tools/report/drawing.h"

#include <algorithm>
#include <bit>

#include "tools/report/html.h"
#include "tools/terminal/shown_text.h"

namespace kt {
namespace {

constexpr double kHeight = 100;

std::string Svg(double width, const std::string& name, const std::string& content,
                const std::string& classes = {}) {
  return "<svg" + (classes.empty() ? "" : " class=\"" + classes + "\"") + " viewBox=\"0 0 " +
         PlaceText(width) + " " + PlaceText(kHeight) + "\" preserveAspectRatio=none role=img aria-label=\"" +
         Html(name) + "\">" + content + "</svg>";
}

std::string Axis(double begin, double end) {
  std::string html = "<div class=axis>";
  for (const double part : {0.0, 0.25, 0.5, 0.75, 1.0})
    html += "<span>" + TimeText(begin + part * (end - begin)) + "</span>";
  return html + "</div>\n";
}

// "512", "4 Ki"; a number that is no whole one of these as it is.
std::string PowerText(u64 number) {
  constexpr u64 kKi = 1024, kMi = kKi * kKi;
  if (number < kKi || number % kKi != 0) return Grouped(number);
  return number < kMi ? std::to_string(number / kKi) + " Ki" : std::to_string(number / kMi) + " Mi";
}

// Sync samples over the same time as the picture above.
std::string SyncLines(const TrackSeries& series) {
  std::string path;
  for (const double time : series.syncTimes) {
    path += "M" + PlaceText((time - series.begin) / (series.end - series.begin) * 1000) + " 0v100";
  }
  return Svg(1000, "sync samples", "<path d=\"" + path + "\"/>", "syncs");
}

}  // namespace

std::string ColourClass(u32 track) {
  constexpr u32 kColours = 6;
  return "t" + std::to_string((track - 1) % kColours + 1);
}

std::string BitRatePicture(const TrackSeries& series, u32 track) {
  if (series.bytes.empty() || series.end <= series.begin) return {};
  // As many steps as there are samples at most: a step without one would look like silence.
  const std::size_t all = series.bytes.size();
  const std::size_t wanted = std::clamp<std::size_t>(series.samples / 8, 1, all);
  const std::size_t merged = (all + wanted - 1) / wanted;
  std::vector<double> rates;
  u64 total = 0;
  for (std::size_t at = 0; at < all; at += merged) {
    const std::size_t end = std::min(at + merged, all);
    u64 bytes = 0;
    for (std::size_t i = at; i < end; ++i) bytes += series.bytes[i];
    total += bytes;
    const double length =
        (series.end - series.begin) * static_cast<double>(end - at) / static_cast<double>(all);
    rates.push_back(static_cast<double>(bytes) * 8 / length);
  }
  const double top = std::max(1.0, *std::ranges::max_element(rates));
  const double step = static_cast<double>(merged);
  std::string path = "M0 100";
  for (const double rate : rates)
    path += "V" + PlaceText(kHeight - rate / top * kHeight) + "h" + PlaceText(step);
  const double mean = static_cast<double>(total) * 8 / (series.end - series.begin);
  const std::string meanAt = PlaceText(kHeight - mean / top * kHeight);
  const double width = static_cast<double>(rates.size()) * step;
  const std::string right = PlaceText(width);
  const std::string content = "<path class=grid d=\"M0 0H" + right + "M0 50H" + right +
                              "\"/><path class=area d=\"" + path + "V100Z\"/><path class=mean d=\"M0 " +
                              meanAt + "H" + right + "\"/>";
  std::string html = "<div class=\"plot " + ColourClass(track) + "\"><span class=top>" + BitRateText(top) +
                     "</span>" + Svg(width, "bit rate over the time", content);
  if (series.syncSamples < series.samples) html += SyncLines(series);
  return html + "</div>\n" + Axis(series.begin, series.end);
}

std::string SizesPicture(const TrackSeries& series, u32 track) {
  u32 most = 1;
  for (const auto& each : series.sizes) most = std::max(most, each.samples);
  const bool marksSync = series.syncSamples < series.samples;
  std::string bars, names;
  for (std::size_t i = 0; i < series.sizes.size(); ++i) {
    const auto& each = series.sizes[i];
    const u32 plain = marksSync ? each.samples - each.syncSamples : each.samples;
    std::string title = "from " + BytesText(each.from) + " on: " + Grouped(each.samples) + " samples";
    if (marksSync) title += ", " + Grouped(each.syncSamples) + " of them sync samples";
    bars += "<div title=\"" + title + "\">";
    if (plain > 0) bars += "<i style=\"height:" + PlaceText(100.0 * plain / most) + "%\"></i>";
    if (marksSync && each.syncSamples > 0) {
      bars += "<i class=sync style=\"height:" + PlaceText(100.0 * each.syncSamples / most) + "%\"></i>";
    }
    bars += "</div>";
    names += "<span>" + (i == 0 || std::has_single_bit(each.from) ? PowerText(each.from) : "") + "</span>";
  }
  return "<div class=\"bars " + ColourClass(track) + "\">" + bars + "</div>\n<div class=under>" + names +
         "</div>\n";
}

std::string FileMap(const TreeBox& root, u64 fileSize) {
  struct Kind {
    u32 code;
    u64 count = 0;
    u64 bytes = 0;
  };
  std::string map, legend;
  std::vector<Kind> kinds;
  u64 end = 0;
  for (const TreeBox& box : root.children) {
    const std::string name = CodeText(box.place.code);
    map += "<span class=\"b-" + Html(name) + "\" style=\"flex-grow:" + std::to_string(box.place.size) +
           "\" title=\"" + Html(name) + " at " + Grouped(box.place.begin) + ": " + BytesText(box.place.size) +
           "\"></span>";
    auto kind = std::ranges::find(kinds, box.place.code, &Kind::code);
    if (kind == kinds.end()) kind = kinds.insert(kinds.end(), Kind{box.place.code});
    ++kind->count;
    kind->bytes += box.place.size;
    end = box.place.End();
  }
  if (end < fileSize) {
    map += "<span class=\"" + std::string(root.fault.empty() ? "b-rest" : "b-lost") +
           "\" style=\"flex-grow:" + std::to_string(fileSize - end) + "\" title=\"" +
           BytesText(fileSize - end) + " behind them\"></span>";
  }
  for (const Kind& kind : kinds) {
    legend += "<span><code>" + Html(CodeText(kind.code)) + "</code> " +
              (kind.count > 1 ? Grouped(kind.count) + " times, " : "") + SizeText(kind.bytes) + "</span>";
  }
  return "<div class=map>" + map + "</div>\n<div class=legend>" + legend + "</div>\n";
}

std::string LayoutPicture(const std::vector<DrawnTrack>& tracks, u64 fileSize) {
  constexpr std::size_t kMostPoints = 400;
  double latest = 0;
  for (const DrawnTrack& track : tracks) latest = std::max(latest, track.series->end);
  if (latest <= 0 || fileSize == 0) return {};
  std::string lines = "<path class=grid d=\"M0 0H1000M0 50H1000\"/>";
  for (const DrawnTrack& track : tracks) {
    std::string path;
    const auto& places = track.series->places;
    const std::size_t step = places.size() / kMostPoints + 1;
    for (std::size_t i = 0; i < places.size(); i += step) {
      const auto& place = places[i];
      const double x = 1000 * static_cast<double>(place.offset) / static_cast<double>(fileSize);
      path += (path.empty() ? "M" : "L") + PlaceText(std::min(x, 1000.0)) + " " +
              PlaceText(kHeight - place.time / latest * kHeight);
    }
    // Lines over each other are to be seen all the same. A lone place is a dot.
    const std::size_t width =
        2 + 2 * std::min<std::size_t>(static_cast<std::size_t>(&tracks.back() - &track), 3);
    if (path.empty()) continue;
    lines += "<path class=\"line " + ColourClass(track.index) +
             "\" style=\"stroke-width:" + std::to_string(width) + "px\" d=\"" + path + "h2\"/>";
  }
  return "<div class=\"plot tall\"><span class=top>" + TimeText(latest) + "</span>" +
         Svg(1000, "time over the place in the file", lines) +
         "</div>\n<div class=axis><span>0</span><span>" + SizeText(fileSize / 2) + "</span><span>" +
         SizeText(fileSize) + "</span></div>\n";
}

u64 LargestDistance(const std::vector<DrawnTrack>& tracks) {
  u64 largest = 0;
  for (const DrawnTrack& one : tracks) {
    for (const DrawnTrack& other : tracks) {
      const auto& places = other.series->places;
      if (&one == &other || places.empty()) continue;
      std::size_t next = 0;
      for (const auto& place : one.series->places) {
        while (next + 1 < places.size() && places[next + 1].time <= place.time) ++next;
        const u64 offset = places[next].offset;
        largest = std::max(largest, std::max(offset, place.offset) - std::min(offset, place.offset));
      }
    }
  }
  return largest;
}

}  // namespace kt
