#include <objbase.h>
#include <uuids.h>
#include <vfwmsgs.h>

#include <tuple>

#include "module/frame_test.h"

namespace kt::test {
namespace {

class ConnectionTest : public FrameTest {};

/// A source and a sink that are not connected, or not any more at the end.
struct Apart {
  explicit Apart(SinkScript script) : m_source(nullptr), m_sink(std::move(script)) {}
  ~Apart() {
    m_source->Pin().Disconnect();
    m_sink->Pin().Disconnect();
  }
  /// Whether both pins say that they are connected, or both that they are not.
  void ExpectConnected(bool connected, const char* what) {
    EXPECT_EQ(m_source->Pin().IsConnected(), connected) << what;
    EXPECT_EQ(m_sink->Pin().IsConnected(), connected) << what;
  }

  Held<CCountingSource> m_source;
  Held<CRecordingSink> m_sink;
};

CMediaType Type(const GUID& subtype, const GUID& format = FORMAT_None) {
  CMediaType type;
  type.majortype = MEDIATYPE_Stream;
  type.subtype = subtype;
  type.formattype = format;
  return type;
}

// Which type is taken: a full one alone, then what the peer lists, then what the pin offers.
TEST_F(ConnectionTest, TriesTypesInOrder) {
  const CMediaType first = Type(kFirstSubtype), second = Type(kSecondSubtype);
  const CMediaType foreign = Type(MEDIASUBTYPE_RGB24);
  const CMediaType openSecond = Type(kSecondSubtype, GUID_NULL);
  const CMediaType openForeign = Type(MEDIASUBTYPE_RGB24, GUID_NULL);
  // What is wanted; what the peer lists and accepts; the answer and the type that is taken.
  const std::tuple<const char*, const AM_MEDIA_TYPE*, std::vector<CMediaType>, const GUID*, HRESULT, GUID>
      cases[] = {
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
  for (const auto& [what, wanted, listed, accepted, result, expected] : cases) {
    Apart pair(SinkScript{.m_types = listed, .m_accept = accepted});
    EXPECT_EQ(pair.m_source->Pin().Connect(&pair.m_sink->Pin(), wanted), result) << what;
    pair.ExpectConnected(result == S_OK, what);
    AM_MEDIA_TYPE taken;
    const HRESULT known = pair.m_source->Pin().ConnectionMediaType(&taken);
    EXPECT_EQ(known, result == S_OK ? S_OK : VFW_E_NOT_CONNECTED) << what;
    EXPECT_EQ(taken.subtype, expected) << what;
    FreeMediaType(taken);
  }
}

TEST_F(ConnectionTest, AgreesOnAnAllocator) {
  enum class Taken { Peers, Own, None };
  // Whether the peer has one, and how many it refuses; its alignment and what is asked for.
  const std::tuple<const char*, bool, int, long, long, Taken> cases[] = {
      {"the peer's", true, 0, 16, 16, Taken::Peers},
      {"alignment 0 becomes 1", true, 0, 0, 1, Taken::Peers},
      {"the peer has no wishes", true, 0, -1, 1, Taken::Peers},
      {"an own one", false, 0, 0, 1, Taken::Own},
      {"an own one when the peer's is refused", true, 1, 4, 4, Taken::Own},
      {"both refused", true, 2, 0, 1, Taken::None},
  };
  for (const auto& [what, peerHasOne, refused, alignment, asked, taken] : cases) {
    Apart pair(
        SinkScript{.m_ownAllocator = peerHasOne, .m_refuseAllocators = refused, .m_alignment = alignment});
    CRecordingPin& pin = pair.m_sink->Pin();
    // Refusing both for one type leaves nothing to refuse for the next one: let there be but one type.
    const CMediaType only = Type(kFirstSubtype);
    const HRESULT result = pair.m_source->Pin().Connect(&pin, &only);
    EXPECT_EQ(SUCCEEDED(result), taken != Taken::None) << what;
    if (taken != Taken::None) {
      EXPECT_EQ(result, S_OK) << what;
      EXPECT_EQ(pin.TakenAllocator() == pin.OwnAllocator(), taken == Taken::Peers) << what;
    }
    EXPECT_EQ(pair.m_source->Pin().m_asked.cbAlign, asked) << what;
    pair.ExpectConnected(taken != Taken::None, what);
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
TEST_F(ConnectionTest, TypeEnumeratorsKeepTheirPin) {
  ComPointer<IEnumMediaTypes> types;
  {
    Held<CCountingSource> source(nullptr);
    ASSERT_EQ(source->Pin().EnumMediaTypes(types.Put()), S_OK);
  }
  AM_MEDIA_TYPE* got[3] = {};
  ULONG count = 0;
  ASSERT_EQ(types->Next(3, got, &count), S_FALSE);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(got[1]->subtype, kSecondSubtype);
  DeleteMediaType(got[0]);
  DeleteMediaType(got[1]);
  EXPECT_EQ(types->Reset(), S_OK);
  EXPECT_EQ(types->Skip(2), S_OK);
  EXPECT_EQ(types->Skip(1), S_FALSE);
}

}  // namespace
}  // namespace kt::test
