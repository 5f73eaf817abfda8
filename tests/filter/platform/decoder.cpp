#include "filter/platform/decoder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kt::test {
namespace {

class DecodingWork final : public StandInWork {
 public:
  explicit DecodingWork(std::shared_ptr<DecodedStream> stream) : m_stream(std::move(stream)) {}

  std::optional<CMediaType> OutputType(const AM_MEDIA_TYPE& input) override {
    const auto setUp = SetUpOf(input);
    if (!setUp) return std::nullopt;
    m_setUp = m_stream->setUp = *setUp;
    m_decoder.emplace(m_setUp);
    if (!m_decoder->IsOpen()) return std::nullopt;
    return ShownType(m_setUp);
  }
  HRESULT Receive(IMediaSample* sample, CBaseOutputPin& output) override {
    BYTE* bytes = nullptr;
    REFERENCE_TIME start = 0, stop = 0;
    sample->GetPointer(&bytes);
    EXPECT_EQ(sample->GetTime(&start, &stop), S_OK);
    EXPECT_LT(start, stop);
    return Pass({bytes, static_cast<std::size_t>(sample->GetActualDataLength())}, start, output);
  }
  void EndOfStream(CBaseOutputPin& output) override {
    Pass({}, 0, output);
    Flush();
  }
  // A new decoder, so that what comes depends on what is sent alone: a flushed one keeps more than it has to.
  void Flush() override { m_decoder.emplace(m_setUp); }

 private:
  HRESULT Pass(std::span<const u8> bytes, i64 time, CBaseOutputPin& output) {
    HRESULT result = S_OK;
    const std::vector<Decoded> decoded = m_decoder->Decode(bytes, time).value();
    for (const Decoded& next : decoded) {
      if (result == S_OK && next.time >= 0) result = Deliver(next, output);
      m_stream->decoded.push_back(next);
    }
    return result;
  }
  HRESULT Deliver(const Decoded& decoded, CBaseOutputPin& output) const {
    ComPointer<IMediaSample> sample;
    const HRESULT result = output.GetDeliveryBuffer(sample.Put());
    if (FAILED(result)) return result;
    BYTE* target = nullptr;
    sample->GetPointer(&target);
    const int size = static_cast<int>(decoded.bytes.size());
    REFERENCE_TIME start = decoded.time, stop = start + 400'000;
    if (m_setUp.width > 0) {
      EXPECT_EQ(decoded.bytes.size(), PictureSize(m_setUp));
      ShowPicture(decoded.bytes, m_setUp, target);
    } else {
      EXPECT_LE(size, sample->GetSize());
      std::memcpy(target, decoded.bytes.data(), decoded.bytes.size());
      sample->SetActualDataLength(size);
      stop = start + i64{size} * 10'000'000 / (m_setUp.channels * 2) / m_setUp.rate;
    }
    sample->SetTime(&start, &stop);
    sample->SetSyncPoint(TRUE);
    return output.Deliver(sample.Get());
  }

  const std::shared_ptr<DecodedStream> m_stream;
  DecoderSetUp m_setUp;
  std::optional<Decoder> m_decoder;
};

}  // namespace

StandInScript DecodingStandIn(const GUID& majorType, TakenTypes taken,
                              std::shared_ptr<DecodedStream> stream) {
  StandInPin input{PINDIR_INPUT, {}};
  for (const DecodedType& type : DecodedTypes()) {
    if (type.majorType != majorType) continue;
    if (type.taken == taken || type.taken == TakenTypes::Both) {
      input.types.push_back(PlainType(majorType, type.subtype));
    }
  }
  StandInScript script;
  script.pins = {input, {PINDIR_OUTPUT, {PlainType(majorType, ::GUID_NULL)}}};
  script.work = [stream] { return std::make_unique<DecodingWork>(stream); };
  return script;
}

}  // namespace kt::test
