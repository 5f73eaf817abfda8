#include "module/com/unknown.h"

#include <new>
#include <tuple>

#include "module/com/class_factory.h"
#include "module/counting_source.h"

namespace kt {
namespace {

// The classes of this program: a filter, and two that can not be made. One says so, one throws.
constexpr CLSID kFilter = {1, 0, 0, {}}, kRefused = {2, 0, 0, {}}, kNoMemory = {3, 0, 0, {}};

template <HRESULT told>
CUnknown* Make(IUnknown* owner, HRESULT* result) {
  if (told == E_OUTOFMEMORY) throw std::bad_alloc();
  *result = told;
  return new test::CCountingSource(owner);
}

}  // namespace

const CFactoryTemplate g_Templates[] = {{L"Filter", &kFilter, Make<S_OK>, nullptr},
                                        {L"Refused", &kRefused, Make<E_ACCESSDENIED>, nullptr},
                                        {L"No Memory", &kNoMemory, Make<E_OUTOFMEMORY>, nullptr}};
const int g_cTemplates = static_cast<int>(std::size(g_Templates));

namespace test {
namespace {

class UnknownTest : public FrameTest {
 protected:
  static ComPointer<IClassFactory> Factory(const CLSID& clsid) {
    ComPointer<IClassFactory> factory;
    EXPECT_EQ(GetClassFactory(clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    return factory;
  }
};

class Owner final : public IUnknown {
 public:
  virtual ~Owner() = default;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
    ++m_queries;
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override {
    ++m_calls;
    return ++m_references;
  }
  ULONG STDMETHODCALLTYPE Release() override { return --m_references; }
  ULONG m_references = 0;
  int m_queries = 0, m_calls = 0;
};

// An object that hands itself out once more while it goes.
class Restless final : public CUnknown {
 public:
  Restless(IUnknown* owner, int* deaths) : CUnknown(owner), m_deaths(deaths) {}
  ~Restless() override { ++*m_deaths; }

 protected:
  void FinalRelease() noexcept override {
    // By now the owner may be gone.
    GetOwner()->AddRef();
    GetOwner()->Release();
    CUnknown::FinalRelease();
  }

 private:
  int* m_deaths;
};

TEST_F(UnknownTest, CountsFromZeroAndDiesOnce) {
  int deaths = 0;
  Owner owner;
  auto* object = new Restless(&owner, &deaths);
  EXPECT_TRUE(IsModuleHeld());
  EXPECT_EQ(object->NonDelegatingAddRef(), 1u);
  EXPECT_EQ(object->NonDelegatingAddRef(), 2u);
  EXPECT_EQ(object->NonDelegatingRelease(), 1u);
  EXPECT_EQ(object->NonDelegatingRelease(), 0u);
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(owner.m_calls, 0);
}

// References on a pin keep its filter, but the pin is an object of its own.
TEST_F(UnknownTest, InterfacesLeadToTheIdentityOfTheirObject) {
  ComPointer<IPin> pin;
  {
    Held<CCountingSource> source;
    pin = ComPointer<IPin>(&source->Pin());
    ComPointer<IMediaFilter> media;
    ASSERT_EQ(source->QueryInterface(IID_IMediaFilter, media.PutVoid()), S_OK);
    IBaseFilter* const filter = &*source;
    EXPECT_TRUE(IsSameObject(filter, media.Get()));
    EXPECT_FALSE(IsSameObject(filter, pin.Get()));
    void* output = &output;
    EXPECT_EQ(filter->QueryInterface(IID_IPropertyBag, &output), E_NOINTERFACE);
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(filter->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  }
  PIN_DIRECTION direction = PINDIR_INPUT;
  EXPECT_EQ(pin->QueryDirection(&direction), S_OK);
  EXPECT_EQ(direction, PINDIR_OUTPUT);
}

TEST_F(UnknownTest, APartCountsAndAnswersForItsOwner) {
  Owner owner;
  const ComPointer<IClassFactory> factory = Factory(kFilter);
  ComPointer<IBaseFilter> filter;
  EXPECT_EQ(factory->CreateInstance(&owner, IID_IBaseFilter, filter.PutVoid()), CLASS_E_NOAGGREGATION);
  ComPointer<IUnknown> identity;
  ASSERT_EQ(factory->CreateInstance(&owner, IID_IUnknown, identity.PutVoid()), S_OK);
  EXPECT_EQ(owner.m_references, 0u);
  ASSERT_EQ(identity.Query(&filter), S_OK);
  EXPECT_EQ(owner.m_references, 1u);
  ComPointer<IMediaFilter> media;
  EXPECT_EQ(filter.Query(&media), E_NOINTERFACE);
  EXPECT_EQ(owner.m_queries, 1);
  filter.Reset();
  EXPECT_EQ(owner.m_references, 0u);
}

TEST_F(UnknownTest, FactoriesAndLocksHoldTheModule) {
  Factory(kFilter)->LockServer(TRUE);
  EXPECT_TRUE(IsModuleHeld());
  Factory(kFilter)->LockServer(FALSE);
  EXPECT_FALSE(IsModuleHeld());
  ComPointer<IBaseFilter> none;
  EXPECT_EQ(GetClassFactory(CLSID_NULL, IID_IClassFactory, none.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(GetClassFactory(kFilter, IID_IBaseFilter, none.PutVoid()), E_NOINTERFACE);
  EXPECT_FALSE(none);
}

// Whatever goes wrong while an object is made comes out as a result, and nothing of the object stays.
TEST_F(UnknownTest, WhatCanNotBeMadeLeavesNothing) {
  const std::tuple<CLSID, IID, HRESULT> cases[] = {{kFilter, IID_IPropertyBag, E_NOINTERFACE},
                                                   {kRefused, IID_IUnknown, E_ACCESSDENIED},
                                                   {kNoMemory, IID_IUnknown, E_OUTOFMEMORY}};
  for (const auto& [clsid, iid, expected] : cases) {
    ComPointer<IUnknown> object;
    EXPECT_EQ(Factory(clsid)->CreateInstance(nullptr, iid, object.PutVoid()), expected);
    EXPECT_FALSE(object);
    EXPECT_FALSE(IsModuleHeld());
  }
}

}  // namespace
}  // namespace test
}  // namespace kt
