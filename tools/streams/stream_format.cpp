#include "tools/streams/stream_format.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

#include "filter/formats/bit_reader.h"
#include "tools/terminal/failure.h"

namespace kt {
namespace {

ByteSpan BytesOf(std::string_view text) {
  return {reinterpret_cast<const u8*>(text.data()), text.size()};
}

class RawFramer final : public StreamFramer {
 public:
  /// `head` stands ahead of the first sample; borrowed.
  explicit RawFramer(ByteSpan head = {}) : m_head(head) {}
  void Begin(const StreamSink& sink) override { sink(m_head); }
  void Add(ByteSpan sample, bool, const std::string&, const StreamSink& sink) override { sink(sample); }

 private:
  ByteSpan m_head;
};

/// What an ADTS header says of the set-up of AAC.
struct AdtsFacts {
  u32 profile = 0;
  u32 rateIndex = 0;
  u32 channels = 0;
};

class AdtsFramer final : public StreamFramer {
 public:
  explicit AdtsFramer(const AdtsFacts& facts) : m_facts(facts) {}

  void Add(ByteSpan sample, bool, const std::string& name, const StreamSink& sink) override {
    constexpr std::size_t kHeader = 7, kLongestFrame = (1 << 13) - 1;
    const std::size_t size = sample.size() + kHeader;
    if (size > kLongestFrame) {
      throw Failure(name + " has " + std::to_string(sample.size()) + " bytes, and ADTS has room for " +
                    std::to_string(kLongestFrame - kHeader));
    }
    const auto byte = [](std::size_t value) { return static_cast<u8>(value & 0xFF); };
    // MPEG-4, no check sum; a buffer fullness that says nothing; one frame.
    const u8 header[kHeader] = {0xFF,
                                0xF1,
                                byte(m_facts.profile << 6 | m_facts.rateIndex << 2 | m_facts.channels >> 2),
                                byte((m_facts.channels & 3U) << 6 | size >> 11),
                                byte(size >> 3),
                                byte((size & 7U) << 5 | 0x1FU),
                                0xFC};
    sink(header);
    sink(sample);
  }

 private:
  AdtsFacts m_facts;
};

// ISO/IEC 14496-3, 1.6.2.1. SBR and PS stay unsaid: decoders find them in the frames.
AdtsFacts ReadAdtsFacts(ByteSpan setUp, const std::string& name) {
  constexpr u32 kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                            22050, 16000, 12000, 11025, 8000,  7350};
  constexpr u32 kExplicitRate = 15, kSbr = 5, kPs = 29, kMostProfiles = 4, kMostChannels = 7;
  BitReader reader(setUp);
  const auto readRate = [&reader, &kRates]() -> u32 {
    const u32 index = reader.Read(4);
    if (index != kExplicitRate) return index;
    return static_cast<u32>(std::ranges::find(kRates, reader.Read(24)) - std::begin(kRates));
  };
  u32 objectType = reader.Read(5);
  AdtsFacts facts;
  facts.rateIndex = readRate();
  facts.channels = reader.Read(4);
  if (objectType == kSbr || objectType == kPs) {
    readRate();
    objectType = reader.Read(5);
  }
  const bool isShort = reader.ReadFlag();
  if (!reader.IsWhole()) throw Failure(name + " has no set-up of AAC");
  const auto refuse = [&name](const std::string& what) {
    throw Failure("ADTS cannot say what " + name + " is: " + what);
  };
  if (objectType == 0 || objectType > kMostProfiles)
    refuse("sound of the object type " + std::to_string(objectType));
  if (facts.rateIndex >= std::size(kRates)) refuse("its rate has no number");
  if (facts.channels == 0 || facts.channels > kMostChannels)
    refuse("its channels have an order of their own");
  if (isShort) refuse("its frames have 960 values and not 1024");
  facts.profile = objectType - 1;
  return facts;
}

/// What the set-up of H.264 and H.265 says: ISO/IEC 14496-15, 5.3.3.1 and 8.3.3.1.
struct UnitFacts {
  bool isHevc = false;
  u32 lengthSize = 4;
  std::vector<ByteSpan> parameterSets;
};

class AnnexBFramer final : public StreamFramer {
 public:
  explicit AnnexBFramer(UnitFacts facts) : m_facts(std::move(facts)) {}

  // The parameter sets go ahead of where decoding can begin, behind a delimiter of access units, which has to
  // be the first.
  void Add(ByteSpan sample, bool isSync, const std::string& name, const StreamSink& sink) override {
    bool areDue = isSync || m_isFirst;
    m_isFirst = false;
    while (!sample.empty()) {
      const u64 size = Number(sample, 0, m_facts.lengthSize);
      const ByteSpan behind = From(sample, m_facts.lengthSize);
      if (sample.size() < m_facts.lengthSize || size > behind.size()) {
        throw Failure("a unit in " + name + " is longer than the sample");
      }
      const ByteSpan unit = behind.first(static_cast<std::size_t>(size));
      sample = From(behind, size);
      if (unit.empty()) continue;
      if (areDue && !IsDelimiter(unit)) {
        for (const ByteSpan set : m_facts.parameterSets) AddUnit(set, sink);
        areDue = false;
      }
      AddUnit(unit, sink);
    }
  }

 private:
  bool IsDelimiter(ByteSpan unit) const {
    constexpr u32 kAvcDelimiter = 9, kHevcDelimiter = 35;
    return m_facts.isHevc ? (unit[0] >> 1 & 0x3FU) == kHevcDelimiter : (unit[0] & 0x1FU) == kAvcDelimiter;
  }
  static void AddUnit(ByteSpan unit, const StreamSink& sink) {
    constexpr u8 kStartCode[] = {0, 0, 0, 1};
    sink(kStartCode);
    sink(unit);
  }

  UnitFacts m_facts;
  bool m_isFirst = true;
};

void TakeSets(BitReader* record, u32 count, UnitFacts* facts) {
  for (; count > 0 && record->IsWhole(); --count) {
    const ByteSpan set = record->Take(record->Read(16));
    if (!set.empty()) facts->parameterSets.push_back(set);
  }
}

UnitFacts ReadUnitFacts(const SampleEntry& entry, const std::string& name) {
  UnitFacts facts;
  const auto avc = entry.Box("avcC"), hevc = entry.Box("hvcC");
  BitReader record(avc ? *avc : hevc.value_or(ByteSpan()));
  if (avc) {
    record.Take(4);
    facts.lengthSize = (record.Read(8) & 3U) + 1;
    TakeSets(&record, record.Read(8) & 0x1FU, &facts);
    TakeSets(&record, record.Read(8), &facts);
  } else {
    facts.isHevc = true;
    record.Take(21);
    facts.lengthSize = (record.Read(8) & 3U) + 1;
    for (u32 arrays = record.Read(8); arrays > 0 && record.IsWhole(); --arrays) {
      record.Read(8);  // the kind of its sets
      TakeSets(&record, record.Read(16), &facts);
    }
  }
  if (!record.IsWhole()) throw Failure("the set-up of " + name + " is missing or cut short");
  return facts;
}

}  // namespace

std::unique_ptr<StreamFramer> MakeFramer(StreamFormat format, const SampleEntry& entry, ByteSpan setUp,
                                         const std::string& name) {
  const auto require = [&](bool isSo, const char* what) {
    if (!isSo)
      throw Failure(name + " is no " + what + ", but " + (entry.code.empty() ? "unknown" : entry.code));
  };
  const auto stream = MpegStreamOf(entry);
  const auto isObject = [&stream](std::initializer_list<u8> types) {
    return stream && std::ranges::find(types, stream->objectType) != types.end();
  };
  switch (format) {
    case StreamFormat::kAdts:
      require(entry.code == "mp4a" && isObject({0x40, 0x66, 0x67, 0x68}), "AAC");
      return std::make_unique<AdtsFramer>(ReadAdtsFacts(setUp, name));
    case StreamFormat::kAnnexB:
      require(entry.Box("avcC") || entry.Box("hvcC"), "H.264 or H.265");
      return std::make_unique<AnnexBFramer>(ReadUnitFacts(entry, name));
    case StreamFormat::kM4v:
      require(entry.code == "mp4v" && isObject({0x20}), "MPEG-4 visual");
      return std::make_unique<RawFramer>(setUp);
    case StreamFormat::kAmr:
      require(entry.code == "samr" || entry.code == "sawb", "AMR");
      return std::make_unique<RawFramer>(BytesOf(entry.code == "samr" ? "#!AMR\n" : "#!AMR-WB\n"));
    default:
      return std::make_unique<RawFramer>();
  }
}

}  // namespace kt
