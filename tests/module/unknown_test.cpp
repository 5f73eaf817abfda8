#include "module/unknown.h"

#include <new>
#include <stdexcept>
#include <tuple>

#include "module/class_factory.h"
#include "module/com_edge.h"
#include "module/counting_source.h"

namespace kt {
namespace {

// The classes of this program: a filter, and three that can not be made. One says so, one has no memory, one
// throws what nobody knows.
constexpr CLSID kFilter = {1, 0, 0, {}}, kRefused = {2, 0, 0, {}}, kNoMemory = {3, 0, 0, {}},
                kThrowing = {4, 0, 0, {}};

}  // namespace

const CFactoryTemplate g_Templates[] = {
    {L"Filter", &kFilter,
     [](IUnknown* owner, HRESULT*) -> CUnknown* { return new test::CCountingSource(owner); }, nullptr},
    {L"Refused", &kRefused,
     [](IUnknown* owner, HRESULT* result) -> CUnknown* {
       *result = E_ACCESSDENIED;
       return new test::CCountingSource(owner);
     },
     nullptr},
    {L"No Memory", &kNoMemory, [](IUnknown*, HRESULT*) -> CUnknown* { throw std::bad_alloc(); }, nullptr},
    {L"Throwing", &kThrowing, [](IUnknown*, HRESULT*) -> CUnknown* { throw 5; }, nullptr},
};
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

// An object that hands itself out once more while it goes.
class Restless final : public CUnknown {
 public:
  explicit Restless(int* deaths) : CUnknown(nullptr), m_deaths(deaths) {}
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
  auto* object = new Restless(&deaths);
  EXPECT_TRUE(IsModuleHeld());
  EXPECT_EQ(object->NonDelegatingAddRef(), 1u);
  EXPECT_EQ(object->NonDelegatingAddRef(), 2u);
  EXPECT_EQ(object->NonDelegatingRelease(), 1u);
  EXPECT_EQ(object->NonDelegatingRelease(), 0u);
  EXPECT_EQ(deaths, 1);
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
                                                   {kNoMemory, IID_IUnknown, E_OUTOFMEMORY},
                                                   {kThrowing, IID_IUnknown, E_UNEXPECTED}};
  for (const auto& [clsid, iid, expected] : cases) {
    ComPointer<IUnknown> object;
    EXPECT_EQ(Factory(clsid)->CreateInstance(nullptr, iid, object.PutVoid()), expected);
    EXPECT_FALSE(object);
    EXPECT_FALSE(IsModuleHeld());
  }
}

TEST_F(UnknownTest, ExceptionsBecomeResultsAtTheEdge) {
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw CResultException{E_POINTER}; }), E_POINTER);
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw CResultException{S_OK}; }), E_FAIL);
  EXPECT_EQ(AtEdge([]() -> HRESULT { throw std::runtime_error("x"); }), E_FAIL);
}

}  // namespace
}  // namespace test
}  // namespace kt
