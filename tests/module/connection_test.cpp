#include <objbase.h>

#include <tuple>

#include "module/counting_source.h"

namespace kt::test {
namespace {

class ConnectionTest : public FrameTest {};

// A full type is the only one tried; else what the peer lists comes first, then what the pin offers.
TEST_F(ConnectionTest, TriesTypesInOrder) {
  const CMediaType first = StreamType(kFirstSubtype), second = StreamType(kSecondSubtype);
  const CMediaType foreign = StreamType(MEDIASUBTYPE_RGB24);
  const CMediaType openSecond = StreamType(kSecondSubtype, GUID_NULL);
  const CMediaType openForeign = StreamType(MEDIASUBTYPE_RGB24, GUID_NULL);
  CMediaType itsFormat = StreamType(GUID_NULL), otherFormat = StreamType(GUID_NULL, FORMAT_VideoInfo);
  const int formatOfTheSecond = 1;
  ASSERT_EQ(itsFormat.SetFormat(&formatOfTheSecond, sizeof formatOfTheSecond), S_OK);
  ASSERT_EQ(otherFormat.SetFormat(&formatOfTheSecond, sizeof formatOfTheSecond), S_OK);
  itsFormat.majortype = otherFormat.majortype = GUID_NULL;
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
          {"what a format leaves", &itsFormat, {}, nullptr, S_OK, kSecondSubtype},
          {"a format of another type", &otherFormat, {}, nullptr, VFW_E_NO_ACCEPTABLE_TYPES, {}},
          {"nothing is left", &openForeign, {first}, nullptr, VFW_E_NO_ACCEPTABLE_TYPES, {}},
          {"nobody agrees", nullptr, {}, &MEDIASUBTYPE_RGB24, VFW_E_NO_ACCEPTABLE_TYPES, {}},
      };
  for (const auto& [what, wanted, listed, accepted, result, expected] : cases) {
    SCOPED_TRACE(what);
    SourceAndSink pair(SinkScript{.m_types = listed, .m_accept = accepted});
    EXPECT_EQ(pair.Connect(wanted), result);
    pair.ExpectConnected(result == S_OK);
    AM_MEDIA_TYPE taken;
    const HRESULT known = pair.source->Pin().ConnectionMediaType(&taken);
    EXPECT_EQ(known, result == S_OK ? S_OK : VFW_E_NOT_CONNECTED);
    EXPECT_EQ(taken.subtype, expected);
    // A type that could have been taken is not delivered over a connection with another one.
    for (const int position : {0, 1}) {
      CMediaType offered;
      ASSERT_EQ(pair.source->Pin().GetMediaType(position, &offered), S_OK);
      EXPECT_EQ(pair.source->Pin().QueryAccept(&offered),
                result != S_OK || offered == taken ? S_OK : S_FALSE);
    }
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
  // Refusing both for one type leaves nothing to refuse for the next one: let there be but one type.
  const CMediaType only = StreamType(kFirstSubtype);
  for (const auto& [what, peerHasOne, refused, alignment, asked, taken] : cases) {
    SCOPED_TRACE(what);
    SourceAndSink pair(
        SinkScript{.m_ownAllocator = peerHasOne, .m_refuseAllocators = refused, .m_alignment = alignment});
    EXPECT_EQ(SUCCEEDED(pair.Connect(&only)), taken != Taken::None);
    pair.ExpectConnected(taken != Taken::None);
    EXPECT_EQ(pair.source->Pin().m_asked.cbAlign, asked);
    const CRecordingPin& pin = pair.sink->Pin();
    EXPECT_TRUE(taken == Taken::None ||
                (pin.TakenAllocator() == pin.OwnAllocator()) == (taken == Taken::Peers));
  }
}

TEST_F(ConnectionTest, ChangesInTheStoppedStateOnly) {
  SourceAndSink pair;
  CCountingPin& pin = pair.source->Pin();
  EXPECT_EQ(pin.Connect(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(pair.source->Run(0), S_OK);
  EXPECT_EQ(pair.Connect(), VFW_E_NOT_STOPPED);
  EXPECT_EQ(pair.source->Stop(), S_OK);
  EXPECT_EQ(pair.Connect(), S_OK);
  EXPECT_EQ(pair.Connect(), VFW_E_ALREADY_CONNECTED);
  EXPECT_EQ(pair.Run(), S_OK);
  EXPECT_EQ(pin.Disconnect(), VFW_E_NOT_STOPPED);
  EXPECT_EQ(pair.source->Stop(), S_OK);
  EXPECT_EQ(pin.Disconnect(), S_OK);
  EXPECT_EQ(pin.Disconnect(), S_FALSE);

  Held<CCountingSource> other;
  EXPECT_EQ(pin.Connect(&other->Pin(), nullptr), VFW_E_INVALID_DIRECTION);
  const CMediaType type = StreamType(kFirstSubtype);
  EXPECT_EQ(pin.ReceiveConnection(&other->Pin(), &type), VFW_E_INVALID_DIRECTION);
  // What flows downstream has no business here.
  for (const HRESULT answer : {pin.EndOfStream(), pin.BeginFlush(), pin.EndFlush()})
    EXPECT_EQ(answer, E_UNEXPECTED);
}

// And they outlive every other reference on what they list.
TEST_F(ConnectionTest, EnumeratorsNoticeAChange) {
  ComPointer<IEnumMediaTypes> types;
  EXPECT_EQ(Held<CCountingSource>()->Pin().EnumMediaTypes(types.Put()), S_OK);
  EXPECT_EQ(types->Skip(2), S_OK);
  EXPECT_EQ(types->Skip(1), S_FALSE);

  Held<CCountingSource> source;
  ComPointer<IEnumPins> pins;
  ASSERT_EQ(source->EnumPins(pins.Put()), S_OK);
  IPin* got[2] = {};
  ULONG count = 9;
  EXPECT_EQ(pins->Next(2, got, nullptr), E_INVALIDARG);
  EXPECT_EQ(pins->Next(2, got, &count), S_FALSE);
  EXPECT_EQ(count, 1u);
  got[0]->Release();

  source->AddAnotherPin();
  ComPointer<IEnumPins> clone;
  EXPECT_EQ(pins->Next(1, got, &count), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(pins->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
  ASSERT_EQ(pins->Clone(clone.Put()), S_OK);
  EXPECT_EQ(clone->Next(1, got, &count), VFW_E_ENUM_OUT_OF_SYNC);
  EXPECT_EQ(pins->Reset(), S_OK);
  EXPECT_EQ(pins->Skip(1), S_OK);
  ASSERT_EQ(pins->Next(1, got, nullptr), S_OK);
  EXPECT_EQ(pins->Skip(1), S_FALSE);
  // Pins may share their name, so that only the identifier finds one.
  ComPointer<IPin> found;
  EXPECT_EQ(source->FindPin(L"2", found.Put()), S_OK);
  EXPECT_EQ(found.Get(), got[0]);
  EXPECT_EQ(source->FindPin(L"3", found.Put()), VFW_E_NOT_FOUND);
  got[0]->Release();
}

}  // namespace
}  // namespace kt::test
