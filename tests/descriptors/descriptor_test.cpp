#include "descriptors/descriptor.h"

#include <tuple>

#include "descriptors/command.h"
#include "descriptors/decoder_specific_info.h"
#include "support/descriptor_writer.h"

namespace kt::test {
namespace {

// A base whose body has any size, to reach the edges of the size code without the bytes.
template <class Base>
class WithSize : public Base {
 public:
  explicit WithSize(u32 size) : Base(5) { this->m_size = size; }
};

template <class Base>
void ExpectWrittenHeader(u32 size, const Bytes& code) {
  WithSize<Base> item(size);
  const Bytes expected = Bytes().U8(5).Add(code);
  MemoryBlock storage(std::size_t{16});
  ASSERT_EQ(MP4_OK, item.Serialize(storage));
  EXPECT_EQ(expected, storage.Written()) << size;
  u32 body = 0;
  EXPECT_EQ(expected.size(), Got(item, &Base::GetSize, &body))
      << "the parent would count other bytes than are written";
}

TEST(SizeCode, WritesTheFewestBytes) {
  const std::pair<u32, Bytes> rows[] = {{0, {0x00}},
                                        {127, {0x7F}},
                                        {128, {0x81, 0x00}},
                                        {16383, {0xFF, 0x7F}},
                                        {16384, {0x81, 0x80, 0x00}},
                                        {2097151, {0xFF, 0xFF, 0x7F}},
                                        {2097152, {0x81, 0x80, 0x80, 0x00}},
                                        {(1u << 28) - 1, {0xFF, 0xFF, 0xFF, 0x7F}}};
  for (const auto& [size, code] : rows) {
    ExpectWrittenHeader<CBaseDescriptor>(size, code);
    ExpectWrittenHeader<CBaseCommand>(size, code);
  }
}

TEST(SizeCode, RefusesWhatFourGroupsCannotHold) {
  WithSize<CBaseDescriptor> descriptor(1u << 28);
  WithSize<CBaseCommand> command(1u << 28);
  EXPECT_EQ(MP4_DESCRIPTOR_OVERRUN, descriptor.Serialize(MemoryBlock(std::size_t{16})));
  EXPECT_EQ(MP4_COMMAND_OVERRUN, command.Serialize(MemoryBlock(std::size_t{16})));
  EXPECT_EQ(MP4_DESCRIPTOR_OVERRUN, BufferResult(descriptor, 16));
  EXPECT_EQ(MP4_COMMAND_OVERRUN, BufferResult(command, 16));
}

TEST(SizeCode, ReadsUpToFiveBytes) {
  // What descriptor and command answer, body and header.
  const std::tuple<Bytes, Mp4Result, Mp4Result, u32, u32> rows[] = {
      {{3, 0x00}, MP4_OK, MP4_OK, 0, 2},
      {{3, 0x80, 0x80, 0x80, 0x80, 0x05}, MP4_OK, MP4_OK, 5, 6},
      // Of 35 bits the upper three are lost.
      {{3, 0xFF, 0x80, 0x80, 0x80, 0x05}, MP4_OK, MP4_OK, 0xF0000005, 6},
      {{3, 0x80, 0x80, 0x80, 0x80, 0x80}, MP4_BAD_DESCRIPTOR, MP4_BAD_COMMAND, 0, 6},
      {{3, 0x80, 0x80}, MP4_OUT_OF_RANGE, MP4_OUT_OF_RANGE, 0, 3},
  };
  for (const auto& [bytes, descriptorResult, commandResult, size, header] : rows) {
    CBaseDescriptor descriptor;
    CBaseCommand command;
    EXPECT_EQ(descriptorResult, descriptor.Deserialize(MemoryBlock(bytes)));
    EXPECT_EQ(commandResult, command.Deserialize(MemoryBlock(bytes)));
    if (descriptorResult != MP4_OK) continue;
    u32 body = 0;
    EXPECT_EQ(header, Got(descriptor, &CBaseDescriptor::GetSize, &body));
    EXPECT_EQ(size, body);
    EXPECT_EQ(size, Got(descriptor, &CBaseDescriptor::GetRemaining));
    if (size < 128) {
      EXPECT_EQ(2u, Got(command, &CBaseCommand::GetSize, &body)) << "a command forgets how it was padded";
    }
  }
}

template <class Item>
void ExpectNames(std::initializer_list<std::pair<u32, const char*>> names) {
  for (const auto& [tag, name] : names) {
    Item item(tag);
    EXPECT_TRUE(Dumped(item, 1).starts_with("\n  " + std::string(name) + "\n  Tag: 0x")) << tag;
  }
}

// The other names stand in the dumps of their classes.
TEST(DescriptorDump, NamesTheTag) {
  ExpectNames<CBaseDescriptor>({{2, "Initial object descriptor"},
                                {18, "IPL descriptor pointer ref"},
                                {0, "Unknown"},
                                {7, "Unknown"},
                                {255, "Unknown"}});
  ExpectNames<CBaseCommand>({{2, "Object descriptor remove"},
                             {3, "ES descriptor update"},
                             {4, "ES descriptor remove"},
                             {5, "IPMP descriptor update"},
                             {6, "IPMP descriptor remove"},
                             {7, "ES descriptor remove reference"},
                             {8, "Unknown"}});
}

class ListTest : public testing::Test {
 protected:
  Mp4Result Read(CStorage* storage, u32 remaining) {
    m_remaining = remaining;
    return m_list.DeserializeDescriptors(storage, &m_remaining);
  }
  static std::vector<u32> Tags(CDescriptorList& list) {
    std::vector<u32> tags;
    CDescriptorList::Node* node = nullptr;
    for (Mp4Result result = list.GetNode(0, &node); result == MP4_OK && node != nullptr;
         node = node->next.get()) {
      tags.push_back(Got(*node->item, &CBaseDescriptor::GetTag));
    }
    return tags;
  }
  void Fill(std::initializer_list<u32> tags) {
    for (const u32 tag : tags) ASSERT_EQ(MP4_OK, m_list.Add(std::make_unique<CBaseDescriptor>(tag)));
  }

  CDescriptorList m_list{nullptr};
  u32 m_remaining = 0;
};

TEST_F(ListTest, ReadsUntilNothingRemains) {
  const Bytes two = Descriptor(200, {1, 2, 3}).Add(Descriptor(5, {9}));
  const std::tuple<Bytes, u32, Mp4Result, std::vector<u32>> rows[] = {
      {two, 0, MP4_OK, {}},
      {two, 8, MP4_OK, {200, 5}},                    // an unknown tag costs its own bytes only
      {two, 7, MP4_DESCRIPTOR_OVERRUN, {200, 5}},    // found out after reading and adding
      {two, 1, MP4_DESCRIPTOR_OVERRUN, {200}},       // not even a header fits
      {two, 9, MP4_OUT_OF_RANGE, {200, 5}},          // claims more than there is
      {{200, 0x8F, 0x7F}, 3, MP4_OUT_OF_RANGE, {}},  // a body that is not there
      {{200, 0x81, 0x00}, 2, MP4_OUT_OF_RANGE, {}},
  };
  for (const auto& [bytes, remaining, result, tags] : rows) {
    m_list.Clear();
    EXPECT_EQ(result, Read(MemoryBlock(bytes), remaining));
    EXPECT_EQ(tags, Tags(m_list));
    if (result == MP4_OK) {
      EXPECT_EQ(0u, m_remaining);
    }
  }
}

// Size and header would wrap to a small sum in 32 bits, and the child would seem to fit.
TEST_F(ListTest, ChildNearFourGigabytesIsNoSmallOne) {
  EXPECT_EQ(MP4_DESCRIPTOR_OVERRUN, Read(FileOf({200, 0x8F, 0xFF, 0xFF, 0xFF, 0x7F}), 6));
}

TEST_F(ListTest, ExtractsEveryMatchInOrder) {
  const std::tuple<i32, i32, std::vector<u32>, std::vector<u32>> rows[] = {
      {64, 95, {64, 70, 95}, {3, 3, 96}},     {3, 3, {3, 3}, {64, 70, 95, 96}},
      {1, 254, {3, 64, 3, 70, 95, 96}, {}},   {96, 96, {96}, {3, 64, 3, 70, 95}},
      {200, 254, {}, {3, 64, 3, 70, 95, 96}},
  };
  for (const auto& [first, last, moved, kept] : rows) {
    m_list.Clear();
    Fill({3, 64, 3, 70, 95, 96});
    auto extracted = std::make_unique<CDescriptorList>(nullptr);
    const CDescriptorList* before = extracted.get();
    ASSERT_EQ(MP4_OK, m_list.ExtractByTagRange(&extracted, first, last));
    EXPECT_NE(before, extracted.get()) << "an empty result has to replace the list as well";
    EXPECT_EQ(moved, Tags(*extracted));
    EXPECT_EQ(kept, Tags(m_list));
    EXPECT_EQ(kept.size(), m_list.GetCount());
    // The moved ones are numbered anew.
    CBaseDescriptor* item = nullptr;
    EXPECT_EQ(moved.empty() ? MP4_NOT_FOUND : MP4_OK,
              extracted->GetByIndex(std::max(extracted->GetCount(), 1u), &item));
  }
}

TEST_F(ListTest, RemovesANode) {
  std::unique_ptr<CDescriptorList::Node> node;
  EXPECT_EQ(MP4_NOT_READY, m_list.Remove(1, &node));
  Fill({10, 11, 12, 13});
  CBaseDescriptor* item = nullptr;
  ASSERT_EQ(MP4_OK, m_list.GetByIndex(2, &item));  // the cursor stands on what is removed
  EXPECT_EQ(MP4_BAD_ARGUMENT, m_list.Remove(5, &node));
  ASSERT_EQ(MP4_OK, m_list.Remove(2, &node));
  EXPECT_EQ(item, node->item.get());
  // The numbers behind keep their gap: 2 is nobody's, and a look-up answers the next.
  EXPECT_EQ(MP4_NOT_FOUND, m_list.Remove(2, &node));
  CDescriptorList::Node* found = nullptr;
  ASSERT_EQ(MP4_OK, m_list.GetNode(2, &found));
  EXPECT_EQ(3u, found->index);
  EXPECT_EQ((std::vector<u32>{10, 12, 13}), Tags(m_list));
}

}  // namespace
}  // namespace kt::test
