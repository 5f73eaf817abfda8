#include <objbase.h>
#include <uuids.h>
#include <vfwmsgs.h>

#include "module/frame_test.h"

namespace kt::test {
namespace {

class ConnectionTest : public FrameTest {};

CMediaType Type(const GUID& subtype, const GUID& format = FORMAT_None) {
  CMediaType type;
  type.majortype = MEDIATYPE_Stream;
  type.subtype = subtype;
  type.formattype = format;
  return type;
}

// Which type is taken: a full one alone, then what the peer lists, then what the pin offers.
TEST_F(ConnectionTest, TriesTypesInOrder) {
  const CMediaType first = Type(kFirstSubtype);
  const CMediaType second = Type(kSecondSubtype);
  const CMediaType foreign = Type(MEDIASUBTYPE_RGB24);
  const CMediaType openSecond = Type(kSecondSubtype, GUID_NULL);
  const CMediaType openForeign = Type(MEDIASUBTYPE_RGB24, GUID_NULL);
  const struct {
    const char* what;
    const AM_MEDIA_TYPE* wanted;
    std::vector<CMediaType> listed;
    const GUID* accepted;
    HRESULT result;
    GUID taken;
  } cases[] = {
      {"its own first", nullptr, {}, nullptr, S_OK, kFirstSubtype},
      {"its own second when the peer wants that", nullptr, {}, &kSecondSubtype, S_OK, kSecondSubtype},
      {"the peer's before its own", nullptr, {foreign, second}, nullptr, S_OK, kSecondSubtype},
      {"a full type", &second, {first}, nullptr, S_OK, kSecondSubtype},
      {"a full type alone", &second, {}, &kFirstSubtype, VFW_E_TYPE_NOT_ACCEPTED, {}},
      {"a full type that it does not have", &foreign, {}, nullptr, VFW_E_TYPE_NOT_ACCEPTED, {}},
      {"what a partial type leaves", &openSecond, {first}, nullptr, S_OK, kSecondSubtype},
      {"nothing is left", &openForeign, {first}, nullptr, VFW_E_NO_ACCEPTABLE_TYPES, {}},
      {"nobody agrees", nullptr, {}, &MEDIASUBTYPE_RGB24, VFW_E_NO_ACCEPTABLE_TYPES, {}},
  };
  for (const auto& one : cases) {
    Held<CCountingSource> source(nullptr);
    Held<CRecordingSink> sink(SinkScript{.m_types = one.listed, .m_accept = one.accepted});
    EXPECT_EQ(source->Pin().Connect(&sink->Pin(), one.wanted), one.result) << one.what;
    EXPECT_EQ(source->Pin().IsConnected(), one.result == S_OK) << one.what;
    EXPECT_EQ(sink->Pin().IsConnected(), one.result == S_OK) << one.what;
    AM_MEDIA_TYPE taken;
    const HRESULT known = source->Pin().ConnectionMediaType(&taken);
    EXPECT_EQ(known, one.result == S_OK ? S_OK : VFW_E_NOT_CONNECTED) << one.what;
    EXPECT_EQ(taken.subtype, one.taken) << one.what;
    FreeMediaType(taken);
    source->Pin().Disconnect();
    sink->Pin().Disconnect();
  }
}

TEST_F(ConnectionTest, AgreesOnAnAllocator) {
  enum class Taken { Peers, Own, None };
  const struct {
    const char* what;
    bool peerHasOne;
    int refused;
    long alignment;
    long asked;
    HRESULT result;
    Taken taken;
  } cases[] = {
      {"the peer's", true, 0, 16, 16, S_OK, Taken::Peers},
      {"alignment 0 becomes 1", true, 0, 0, 1, S_OK, Taken::Peers},
      {"the peer has no wishes", true, 0, -1, 1, S_OK, Taken::Peers},
      {"an own one", false, 0, 0, 1, S_OK, Taken::Own},
      {"an own one when the peer's is refused", true, 1, 4, 4, S_OK, Taken::Own},
      {"both refused", true, 2, 0, 1, VFW_E_NO_ACCEPTABLE_TYPES, Taken::None},
  };
  for (const auto& one : cases) {
    Held<CCountingSource> source(nullptr);
    Held<CRecordingSink> sink(SinkScript{
        .m_ownAllocator = one.peerHasOne, .m_refuseAllocators = one.refused, .m_alignment = one.alignment});
    // Refusing both for one type leaves nothing to refuse for the next one: let there be but one type.
    const CMediaType only = Type(kFirstSubtype);
    const HRESULT result = source->Pin().Connect(&sink->Pin(), &only);
    if (one.taken == Taken::None) {
      EXPECT_TRUE(FAILED(result)) << one.what;
    } else {
      EXPECT_EQ(result, one.result) << one.what;
      EXPECT_EQ(sink->Pin().TakenAllocator() == sink->Pin().OwnAllocator(), one.taken == Taken::Peers)
          << one.what;
    }
    EXPECT_EQ(source->Pin().m_asked.cbAlign, one.asked) << one.what;
    EXPECT_EQ(sink->Pin().IsConnected(), one.taken != Taken::None) << one.what;
    EXPECT_EQ(source->Pin().IsConnected(), one.taken != Taken::None) << one.what;
    source->Pin().Disconnect();
    sink->Pin().Disconnect();
  }
}

TEST_F(ConnectionTest, ChangesInTheStoppedStateOnly) {
  Connected pair(CountingScript{.m_samples = 1});
  Held<CRecordingSink> other;
  EXPECT_EQ(pair.m_source->Pin().Connect(&other->Pin(), nullptr), VFW_E_ALREADY_CONNECTED);
  pair.Run();
  EXPECT_EQ(pair.m_source->Pin().Disconnect(), VFW_E_NOT_STOPPED);
  pair.Stop();
  EXPECT_EQ(pair.m_source->Pin().Disconnect(), S_OK);
  EXPECT_EQ(pair.m_source->Pin().Disconnect(), S_FALSE);
  ASSERT_EQ(pair.m_source->Run(0), S_OK);
  EXPECT_EQ(pair.m_source->Pin().Connect(&other->Pin(), nullptr), VFW_E_NOT_STOPPED);
}

TEST_F(ConnectionTest, RefusesWhatHasNoBusinessAtAnOutput) {
  Held<CCountingSource> source(nullptr);
  Held<CCountingSource> other(nullptr);
  CCountingPin& pin = source->Pin();
  EXPECT_EQ(pin.Connect(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(pin.EndOfStream(), E_UNEXPECTED);
  EXPECT_EQ(pin.BeginFlush(), E_UNEXPECTED);
  EXPECT_EQ(pin.EndFlush(), E_UNEXPECTED);
  EXPECT_EQ(pin.Connect(&other->Pin(), nullptr), VFW_E_INVALID_DIRECTION);
  const CMediaType type = Type(kFirstSubtype);
  EXPECT_EQ(pin.ReceiveConnection(&other->Pin(), &type), VFW_E_INVALID_DIRECTION);
  EXPECT_EQ(pin.QueryAccept(&type), S_OK);
  const CMediaType foreign = Type(MEDIASUBTYPE_RGB24);
  EXPECT_EQ(pin.QueryAccept(&foreign), S_FALSE);
}

TEST_F(ConnectionTest, PinEnumeratorsNoticeAChange) {
  Held<CCountingSource> source(nullptr);
  ComPointer<IEnumPins> pins;
  ASSERT_EQ(source->EnumPins(pins.Put()), S_OK);
  IPin* got[2] = {};
  ULONG count = 9;
  EXPECT_EQ(pins->Next(2, got, nullptr), E_INVALIDARG);
  EXPECT_EQ(pins->Next(2, got, &count), S_FALSE);
  EXPECT_EQ(count, 1u);
  got[0]->Release();
  EXPECT_EQ(pins->Next(1, got, &count), S_FALSE);
  EXPECT_EQ(count, 0u);

  ComPointer<IEnumPins> clone;
  source->AddAnotherPin();
  EXPECT_EQ(pins->Next(1, got, &count), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(pins->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
  ASSERT_EQ(pins->Clone(clone.Put()), S_OK);
  EXPECT_EQ(clone->Next(1, got, &count), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(pins->Reset(), S_OK);
  EXPECT_EQ(pins->Skip(1), S_OK);
  ASSERT_EQ(pins->Next(1, got, nullptr), S_OK);
  LPWSTR id = nullptr;
  ASSERT_EQ(got[0]->QueryId(&id), S_OK);
  EXPECT_STREQ(id, L"2");
  // Pins may share their name, so that only the identifier finds one.
  ComPointer<IPin> found;
  EXPECT_EQ(source->FindPin(id, found.Put()), S_OK);
  EXPECT_EQ(found.Get(), got[0]);
  EXPECT_EQ(source->FindPin(L"3", found.Put()), VFW_E_NOT_FOUND);
  CoTaskMemFree(id);
  got[0]->Release();
  EXPECT_EQ(pins->Skip(1), S_FALSE);
}

// An enumerator outlives every other reference on what it lists.
TEST_F(ConnectionTest, TypeEnumeratorsKeepTheirPinAndNoticeAChange) {
  ComPointer<IEnumMediaTypes> types;
  CCountingPin* pin = nullptr;
  {
    Held<CCountingSource> source(nullptr);
    pin = &source->Pin();
    ASSERT_EQ(pin->EnumMediaTypes(types.Put()), S_OK);
  }
  AM_MEDIA_TYPE* got[3] = {};
  ULONG count = 0;
  ASSERT_EQ(types->Next(3, got, &count), S_FALSE);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(got[1]->subtype, kSecondSubtype);
  DeleteMediaType(got[0]);
  DeleteMediaType(got[1]);
  pin->OfferTypesAnew();
  EXPECT_EQ(types->Next(1, got, &count), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(types->Reset(), S_OK);
  EXPECT_EQ(types->Skip(2), S_OK);
  EXPECT_EQ(types->Skip(1), S_FALSE);
}

}  // namespace
}  // namespace kt::test
