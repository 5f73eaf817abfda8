#include "tools/report/box_tree.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <string_view>

namespace kt {
namespace {

constexpr u32 kDeepest = 64;
constexpr std::size_t kMostInList = 50;
constexpr u32 kMostInTree = 2000;
// Beyond this many the rest of a list is not even counted.
constexpr u64 kMostCounted = 1'000'000;

// Boxes that hold boxes, and how many bytes stand ahead of these.
struct HolderRow {
  std::string_view code;
  u64 ahead;
};
constexpr HolderRow kHolders[] = {
    {"moov", 0}, {"trak", 0}, {"mdia", 0}, {"minf", 0}, {"stbl", 0}, {"dinf", 0}, {"edts", 0},
    {"udta", 0}, {"tref", 0}, {"hnti", 0}, {"hinf", 0}, {"moof", 0}, {"traf", 0}, {"mvex", 0},
    {"mfra", 0}, {"sinf", 0}, {"schi", 0}, {"wave", 0}, {"gmhd", 0}, {"ilst", 0}, {"tapt", 0},
    {"cmov", 0}, {"iprp", 0}, {"ipco", 0}, {"stsd", 8}, {"dref", 8}};

class BoxWalk {
 public:
  BoxWalk(FileBytes& file, BoxVisitor& visitor) : m_file(file), m_visitor(visitor) {}

  void WalkList(u64 at, u64 end, u32 depth, u32 owner) {
    while (at < end) {
      BoxPlace box;
      const HeaderLook look = LookAtHeader(m_file, at, end, &box);
      if (look != HeaderLook::kFits) {
        m_visitor.TellFault(FaultText(look, box, end - at));
        return;
      }
      at = box.End();
      const BoxStep step = m_visitor.Enter(box, owner);
      if (step == BoxStep::kEndList) return;
      if (step == BoxStep::kPass) continue;
      const std::optional<u64> inner = depth < kDeepest ? ChildrenOf(box, owner) : std::nullopt;
      if (inner) WalkList(*inner, box.End(), depth + 1, box.code);
      m_visitor.Leave();
    }
  }

 private:
  static std::string FaultText(HeaderLook look, const BoxPlace& box, u64 left) {
    if (look == HeaderLook::kLargerThanRoom && LooksLikeCode(box.code)) {
      return QuotedCode(box.code) + " follows, which says that it has " + BytesText(box.size) + ", and " +
             Grouped(left) + (left == 1 ? " is left" : " are left");
    }
    return BytesText(left) + (left == 1 ? " follows that is no box" : " follow that are no box");
  }

  // Where the boxes in a box begin.
  std::optional<u64> ChildrenOf(const BoxPlace& box, u32 owner) {
    const auto* const row =
        std::ranges::find(kHolders, box.code, [](const HolderRow& each) { return CodeOf(each.code); });
    if (row != std::end(kHolders)) return Within(box, row->ahead);
    if (owner == CodeOf("stsd")) return BehindEntry(box);
    if (owner == CodeOf("ilst")) return Within(box, 0);
    if (box.code != CodeOf("meta")) return std::nullopt;
    // QuickTime has neither version nor flags here.
    const bool isQuickTime = m_file.NumberAt(box.Payload() + 4, 4) == CodeOf("hdlr");
    return Within(box, isQuickTime ? 0 : 4);
  }

  static std::optional<u64> Within(const BoxPlace& box, u64 ahead) {
    return box.PayloadSize() > ahead ? std::optional(box.Payload() + ahead) : std::nullopt;
  }

  // Behind the fields of a sample entry: of pictures, of sound in the three forms that there are, of hints,
  // and of anything else. ISO/IEC 14496-12, 8.5.2, and QuickTime.
  std::optional<u64> BehindEntry(const BoxPlace& box) {
    for (const u64 ahead : {78U, 28U, 44U, 64U, 16U, 8U}) {
      const auto begin = Within(box, ahead);
      if (begin && AreBoxes(m_file, *begin, box.End())) return begin;
    }
    return std::nullopt;
  }

  FileBytes& m_file;
  BoxVisitor& m_visitor;
};

class TreeBuilder final : public BoxVisitor {
 public:
  explicit TreeBuilder(TreeBox* root) : m_open{root} {}

  BoxStep Enter(const BoxPlace& box, u32) override {
    TreeBox& owner = *m_open.back();
    if (owner.children.size() == kMostInList || m_count == kMostInTree) {
      return ++owner.unlisted == kMostCounted ? BoxStep::kEndList : BoxStep::kPass;
    }
    ++m_count;
    // The list does not grow before this one is left.
    m_open.push_back(&owner.children.emplace_back());
    m_open.back()->place = box;
    return BoxStep::kEnter;
  }
  void Leave() override { m_open.pop_back(); }
  void TellFault(const std::string& fault) override { m_open.back()->fault = fault; }

 private:
  std::vector<TreeBox*> m_open;
  u32 m_count = 0;
};

}  // namespace

void WalkBoxes(FileBytes& file, BoxVisitor& visitor) {
  BoxWalk(file, visitor).WalkList(0, file.Size(), 1, 0);
}

TreeBox ReadBoxTree(FileBytes& file) {
  TreeBox root;
  TreeBuilder builder(&root);
  WalkBoxes(file, builder);
  return root;
}

}  // namespace kt
