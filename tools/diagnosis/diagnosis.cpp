#include "tools/diagnosis/diagnosis.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>
#include <vector>

#include "tools/bytes/file_bytes.h"
#include "tools/diagnosis/box_place.h"
#include "tools/diagnosis/other_formats.h"
#include "tools/diagnosis/strict_look.h"
#include "tools/terminal/shown_text.h"

namespace kt {
namespace {

// The strict reader's bound, of which each box on the way takes one.
constexpr std::size_t kDeepest = 64;
// A file of nothing but headers would take its time.
constexpr u64 kMostBoxes = 2'000'000;

constexpr std::size_t kMostCodes = 100;

constexpr u32 kMoov = CodeOf("moov");

// What is known to stand at the top of files, in ISO/IEC 14496-12, in its kin and in QuickTime.
bool StandsAtTheTop(u32 code) {
  static constexpr std::string_view kCodes[] = {"ftyp", "moov", "mdat", "free", "skip", "wide", "uuid",
                                                "udta", "styp", "pnot", "PICT", "meta", "moof", "mfra",
                                                "sidx", "ssix", "prft", "emsg", "pdin", "junk"};
  return std::ranges::find(kCodes, code, [](std::string_view each) { return CodeOf(each); }) !=
         std::end(kCodes);
}

/// A list of boxes that the walk stands in: that of the file, or the children of a box.
struct Level {
  BoxPlace owner;  // of size 0 for the file
  u64 begin = 0;
  u64 next = 0;  // the box that comes next
  u64 end = 0;
  u32 around = 0;  // see LookAsStrictReader
  std::optional<BoxPlace> last = {};
  std::optional<BoxPlace> suspect = {};  // the box ahead of the first with a code that no box has

  bool IsFile() const { return owner.size == 0; }
};

/// One walk through a file, up to the first box that is wrong.
class Walk {
 public:
  explicit Walk(const std::string& name) : m_file(name) {}

  std::optional<Diagnosis> Run() {
    const std::string other = OtherFormat(m_file.At(0, 1024));
    if (!other.empty()) return Diagnosis{{}, 0, other};
    m_levels.push_back({.owner = {}, .end = m_file.Size()});
    for (u64 count = 0; count < kMostBoxes && !m_levels.empty() && !m_found; ++count) {
      if (Top().next == Top().end) {
        if (Top().IsFile()) LookForMovie();
        m_levels.pop_back();
      } else {
        Step();
      }
    }
    return m_found;
  }

 private:
  Level& Top() { return m_levels.back(); }

  void Step() {
    BoxPlace box;
    const HeaderLook look = LookAtHeader(m_file, Top().next, Top().end, &box);
    if (look != HeaderLook::kFits) return ExplainHeader(look, box);
    if (m_levels.size() > kDeepest) {
      return Found(&box,
                   "boxes stand one in the other here, more than " + std::to_string(kDeepest) + " deep");
    }
    if (box.size > std::numeric_limits<u32>::max()) {
      return Found(&box,
                   "it has " + BytesText(box.size) + ", and the strict reader takes none of 4 GiB and more");
    }
    StrictLook inner = LookAsStrictReader(m_file, box, Top().around);
    if (!inner.fault.empty()) return Found(&box, inner.fault, inner.inside ? &*inner.inside : nullptr);
    if (Top().IsFile() && !HasTop(box.code) && m_topCodes.size() < kMostCodes) m_topCodes.push_back(box.code);
    if (!IsLikely(box) && !Top().suspect) Top().suspect = Top().last;
    Top().next = box.End();
    Top().around = AsPrevious(box.code);
    Top().last = box;
    if (inner.children) {
      m_levels.push_back({.owner = box,
                          .begin = *inner.children,
                          .next = *inner.children,
                          .end = box.End(),
                          .around = box.code});
    }
  }

  bool HasTop(u32 code) const { return std::ranges::count(m_topCodes, code) > 0; }

  // Of what a box follows only the codes that "rtp " is told apart by matter.
  static u32 AsPrevious(u32 code) { return code == CodeOf("stsd") || code == CodeOf("hnti") ? code : 0; }

  bool IsLikely(const BoxPlace& box) {
    return Top().IsFile() ? StandsAtTheTop(box.code) || box.code == CodeOf("trak") : LooksLikeCode(box.code);
  }

  // The header at hand cannot be that of a box here: itself, the box ahead of it or that around it is wrong.
  void ExplainHeader(HeaderLook look, const BoxPlace& box) {
    const Level& level = Top();
    const u64 left = level.end - level.next;
    if (look == HeaderLook::kNoRoomForHeader) return ExplainRest(left);
    // Letters that are read as a size.
    const bool isVast = box.size > m_file.Size() && level.last && !level.IsFile() && !IsReadByField(box.code);
    if (!IsLikely(box) || isVast) return BlameBefore(left, "are no box");
    if (box.goesToTheEnd && !level.IsFile()) {
      return Found(&box, "its size is 0, which stands for all up to the end of the file");
    }
    if (look == HeaderLook::kSmallerThanHeader) {
      return Found(&box, "its size is " + Grouped(box.size) + ", below that of its header");
    }
    if (level.IsFile()) return ExplainCut(box, left);
    if (IsOwnerToBlame(box)) {
      const bool isBehind = box.code == CodeOf("mdat");
      return Found(nullptr, isBehind ? "it is too long: \"mdat\" begins in it"
                                     : "it ends " + BytesText(box.size - left) + " ahead of the end of the " +
                                           QuotedCode(box.code) + " in it");
    }
    Found(&box, "it says " + BytesText(box.size) + ", and " + QuotedCode(level.owner.code) + " has " +
                    Grouped(left) + " left");
  }

  void ExplainCut(const BoxPlace& box, u64 left) {
    const bool hasMovie = box.code == kMoov || HasTop(kMoov);
    Found(&box, "the file is cut at " + Grouped(Top().end) + ": it has " + Grouped(left) + " of the " +
                    BytesText(box.size) + " of this box, and " + Grouped(box.size - left) + " are missing" +
                    (hasMovie ? "" : "; a \"moov\", which says what is where, is not ahead of it"));
  }

  // Too few bytes for a header.
  void ExplainRest(u64 left) {
    const Level& level = Top();
    if (level.owner.code == CodeOf("udta") && left == 4 && m_file.NumberAt(level.next, 4) == 0) {
      return Found(nullptr, "4 zero bytes end its list, as QuickTime has it");
    }
    if (!level.IsFile() && level.last && !LeadsOn(level.end) && LeadsOn(level.next)) {
      return Found(nullptr, "it ends " + BytesText(left) + " behind the last box in it");
    }
    BlameBefore(left, left == 1 ? "is too few for a box" : "are too few for a box");
  }

  // Where no box can be, what led there has the wrong size: the box ahead, or that around it.
  void BlameBefore(u64 left, const std::string& how) {
    const Level& level = Top();
    const BoxPlace* const before = level.suspect ? &*level.suspect : level.last ? &*level.last : nullptr;
    if (before == nullptr) return Found(nullptr, "the " + BytesText(left) + " in it " + how);
    const BoxPlace blamed = *before;
    Found(&blamed, "the " + BytesText(level.end - blamed.End()) + " behind it " + how +
                       (level.IsFile() ? ": the file is cut short, or has rubbish at its end" : ""));
  }

  // Whether the list around the one at hand goes on, or ends, at this position.
  bool LeadsOn(u64 position) {
    const Level& outer = m_levels[m_levels.size() - 2];
    BoxPlace box;
    if (position >= outer.end) return position == outer.end;
    return LookAtHeader(m_file, position, outer.end, &box) == HeaderLook::kFits && LooksLikeCode(box.code);
  }

  // A box is too large for the list that it stands in: its own size is wrong, or that of the box around.
  bool IsOwnerToBlame(const BoxPlace& box) {
    if (box.size > m_file.Size() - box.begin) return false;
    if (box.code == CodeOf("mdat")) return true;
    const bool isOwnerRight = LeadsOn(Top().end), isBoxRight = LeadsOn(box.End());
    if (isOwnerRight != isBoxRight) return isBoxRight;
    return AgreesWithItself(box);
  }

  // Whether a box has what its size says.
  bool AgreesWithItself(const BoxPlace& box) {
    const StrictLook inner = LookAsStrictReader(m_file, box, Top().around);
    if (!inner.fault.empty()) return false;
    if (inner.children) return AreBoxes(m_file, *inner.children, box.End());
    return IsReadByField(box.code);
  }

  void LookForMovie() {
    if (HasTop(kMoov)) return;
    // A box in front of it that is 8 bytes too long takes its header along, and leaves its children.
    if (HasTop(CodeOf("trak"))) {
      for (u64 at = 0; at < Top().end;) {
        BoxPlace box;
        if (LookAtHeader(m_file, at, Top().end, &box) != HeaderLook::kFits) break;
        if (box.size >= 16 && m_file.NumberAt(box.End() - 4, 4) == kMoov) {
          return Found(&box, "it is 8 bytes too long: the header of \"moov\" stands in its end");
        }
        at = box.End();
      }
    }
    if (Top().suspect) return BlameBefore(0, "are no box");
    if (Top().last && Top().last->goesToTheEnd) {
      const BoxPlace last = *Top().last;
      return Found(
          &last,
          "its size is 0, which stands for all up to the end of the file, and no \"moov\" is ahead of it");
    }
    m_found = Diagnosis{{}, 0, "there is no \"moov\" box in it, " + WhatThereIs()};
  }

  std::string WhatThereIs() const {
    if (HasTop(CodeOf("moof"))) {
      return "only fragments: it is a piece of a stream, whose beginning is another file";
    }
    constexpr std::size_t kMostNamed = 5;
    std::string text = "only";
    for (std::size_t i = 0; i < std::min(m_topCodes.size(), kMostNamed); ++i) {
      text += (i == 0 ? " " : ", ") + QuotedCode(m_topCodes[i]);
    }
    return text + ": it is unfinished, as when a recording breaks off";
  }

  // The fault is in `box`, which comes next, or in `inside`, which stands in it; without a box in the one
  // that holds the list.
  void Found(const BoxPlace* box, const std::string& cause, const BoxPlace* inside = nullptr) {
    Diagnosis found;
    found.cause = cause;
    for (std::size_t i = 1; i < m_levels.size(); ++i) Append(m_levels[i - 1], m_levels[i].owner, &found);
    if (box != nullptr) Append(Top(), *box, &found);
    if (inside != nullptr) {
      found.path += "/" + CodeText(inside->code);
      found.offset = inside->begin;
    }
    m_found = found;
  }

  void Append(const Level& level, const BoxPlace& box, Diagnosis* found) {
    constexpr std::size_t kLongestPath = 100;
    if (found->path.size() > kLongestPath) {
      if (!found->path.ends_with("/...")) found->path += "/...";
    } else {
      found->path += (found->path.empty() ? "" : "/") + CodeText(box.code) + Ordinal(level, box);
    }
    found->offset = box.begin;
  }

  // "[2]" of a track, and of any other box that has some of its code beside it.
  std::string Ordinal(const Level& level, const BoxPlace& box) {
    u32 before = 0, behind = 0;
    u64 at = level.begin;
    for (u64 count = 0; at < level.end && count < kMostBoxes; ++count) {
      BoxPlace each;
      if (LookAtHeader(m_file, at, level.end, &each) != HeaderLook::kFits) break;
      if (each.code == box.code && at < box.begin) ++before;
      if (each.code == box.code && at > box.begin) ++behind;
      at = each.End();
    }
    const bool isCounted = before + behind > 0 || box.code == CodeOf("trak");
    return isCounted ? "[" + std::to_string(before + 1) + "]" : "";
  }

  FileBytes m_file;
  std::vector<Level> m_levels;
  std::vector<u32> m_topCodes;  // each once
  std::optional<Diagnosis> m_found;
};

}  // namespace

std::string Diagnosis::Text() const {
  return path.empty() ? cause : path + " at " + Grouped(offset) + ": " + cause;
}

std::optional<Diagnosis> Diagnose(const std::string& name) {
  return Walk(name).Run();
}

}  // namespace kt
