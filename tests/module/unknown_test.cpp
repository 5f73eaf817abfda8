#include "module/unknown.h"

#include <new>
#include <stdexcept>
#include <tuple>

#include "module/class_factory.h"
#include "module/com_edge.h"
#include "module/frame_test.h"
#include "module/test_classes.h"

namespace kt::test {
namespace {

class UnknownTest : public FrameTest {};

// An object that hands itself out once more while it goes.
class Restless final : public CUnknown {
 public:
  Restless(IUnknown* owner, int* deaths) : CUnknown(owner), m_deaths(deaths) {}
  ~Restless() override { ++*m_deaths; }

 protected:
  void FinalRelease() noexcept override {
    NonDelegatingAddRef();
    NonDelegatingRelease();
  }

 private:
  int* m_deaths;
};

TEST_F(UnknownTest, CountsFromZeroAndDiesOnce) {
  int deaths = 0;
  auto* object = new Restless(nullptr, &deaths);
  EXPECT_TRUE(IsModuleHeld());
  EXPECT_EQ(object->NonDelegatingAddRef(), 1u);
  EXPECT_EQ(object->NonDelegatingAddRef(), 2u);
  EXPECT_EQ(object->NonDelegatingRelease(), 1u);
  EXPECT_EQ(object->NonDelegatingRelease(), 0u);
  EXPECT_EQ(deaths, 1);
}

TEST_F(UnknownTest, NullsTheOutputOfWhatItDoesNotKnow) {
  Held<CCountingSource> source(nullptr);
  void* output = &output;
  EXPECT_EQ(source->QueryInterface(IID_IPropertyBag, &output), E_NOINTERFACE);
  EXPECT_EQ(output, nullptr);
  EXPECT_EQ(source->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(source->QueryInterface(IID_IBaseFilter, nullptr), E_POINTER);
}

TEST_F(UnknownTest, EveryInterfaceLeadsToTheSameIdentity) {
  Held<CCountingSource> source(nullptr);
  ComPointer<IMediaFilter> media;
  ComPointer<IUnknown> fromFilter;
  ComPointer<IUnknown> fromMedia;
  ASSERT_EQ(source->QueryInterface(IID_IMediaFilter, media.PutVoid()), S_OK);
  EXPECT_EQ(source->QueryInterface(IID_IUnknown, fromFilter.PutVoid()), S_OK);
  EXPECT_EQ(media.Query(&fromMedia), S_OK);
  EXPECT_EQ(fromFilter.Get(), fromMedia.Get());
}

// References on a pin keep its filter, but the pin is an object of its own.
TEST_F(UnknownTest, APinCountsForItsFilter) {
  ComPointer<IPin> pin;
  {
    Held<CCountingSource> source(nullptr);
    pin = ComPointer<IPin>(&source->Pin());
    ComPointer<IUnknown> ofPin;
    ComPointer<IUnknown> ofFilter;
    pin.Query(&ofPin);
    source->QueryInterface(IID_IUnknown, ofFilter.PutVoid());
    EXPECT_NE(ofPin.Get(), ofFilter.Get());
  }
  PIN_DIRECTION direction = PINDIR_INPUT;
  EXPECT_EQ(pin->QueryDirection(&direction), S_OK);
  EXPECT_EQ(direction, PINDIR_OUTPUT);
}

class Owner final : public IUnknown {
 public:
  virtual ~Owner() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
    ++m_queries;
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
  ULONG STDMETHODCALLTYPE Release() override { return --m_references; }
  ULONG m_references = 0;
  int m_queries = 0;
};

TEST_F(UnknownTest, APartCountsAndAnswersForItsOwner) {
  Owner owner;
  ComPointer<IClassFactory> factory;
  ASSERT_EQ(GetClassFactory(CLSID_CountingSource, IID_IClassFactory, factory.PutVoid()), S_OK);

  ComPointer<IBaseFilter> refused;
  EXPECT_EQ(factory->CreateInstance(&owner, IID_IBaseFilter, refused.PutVoid()), CLASS_E_NOAGGREGATION);

  ComPointer<IUnknown> identity;
  ASSERT_EQ(factory->CreateInstance(&owner, IID_IUnknown, identity.PutVoid()), S_OK);
  EXPECT_EQ(owner.m_references, 0u);
  {
    ComPointer<IBaseFilter> filter;
    ASSERT_EQ(identity.Query(&filter), S_OK);
    EXPECT_EQ(owner.m_references, 1u);
    ComPointer<IMediaFilter> media;
    EXPECT_EQ(filter.Query(&media), E_NOINTERFACE);
    EXPECT_EQ(owner.m_queries, 1);
  }
  EXPECT_EQ(owner.m_references, 0u);
}

TEST_F(UnknownTest, FactoriesAndLocksHoldTheModule) {
  ComPointer<IClassFactory> factory;
  ASSERT_EQ(GetClassFactory(CLSID_CountingSource, IID_IClassFactory, factory.PutVoid()), S_OK);
  factory->LockServer(TRUE);
  factory.Reset();
  EXPECT_TRUE(IsModuleHeld());
  ASSERT_EQ(GetClassFactory(CLSID_CountingSource, IID_IClassFactory, factory.PutVoid()), S_OK);
  factory->LockServer(FALSE);
  factory.Reset();
  EXPECT_FALSE(IsModuleHeld());

  EXPECT_EQ(GetClassFactory(CLSID_NULL, IID_IClassFactory, factory.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(GetClassFactory(CLSID_CountingSource, IID_IBaseFilter, factory.PutVoid()), E_NOINTERFACE);
  EXPECT_EQ(factory.Get(), nullptr);
}

// Whatever goes wrong while an object is made comes out as a result, and nothing of the object stays.
TEST_F(UnknownTest, WhatCanNotBeMadeLeavesNothing) {
  const std::tuple<const CLSID*, const IID*, HRESULT> cases[] = {
      {&CLSID_CountingSource, &IID_IPropertyBag, E_NOINTERFACE},
      {&CLSID_Refused, &IID_IUnknown, E_ACCESSDENIED},
      {&CLSID_NoMemory, &IID_IUnknown, E_OUTOFMEMORY},
      {&CLSID_Throwing, &IID_IUnknown, E_UNEXPECTED},
  };
  for (const auto& [clsid, iid, expected] : cases) {
    ComPointer<IClassFactory> factory;
    ASSERT_EQ(GetClassFactory(*clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    ComPointer<IUnknown> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, *iid, object.PutVoid()), expected);
    EXPECT_EQ(object.Get(), nullptr);
    factory.Reset();
    EXPECT_FALSE(IsModuleHeld());
  }
}

TEST_F(UnknownTest, ExceptionsBecomeResultsAtTheEdge) {
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw std::bad_alloc(); }), E_OUTOFMEMORY);
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw CResultException{E_POINTER}; }), E_POINTER);
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw CResultException{S_OK}; }), E_FAIL);
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw std::runtime_error("x"); }), E_FAIL);
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw 'x'; }), E_UNEXPECTED);
  EXPECT_EQ(AtEdge([] { return S_FALSE; }), S_FALSE);
}

}  // namespace
}  // namespace kt::test
