#include <gtest/gtest.h>
#include <objbase.h>

int main(int argumentCount, char** arguments) {
  testing::InitGoogleTest(&argumentCount, arguments);
  if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return 2;
  const int result = RUN_ALL_TESTS();
  CoUninitialize();
  return result;
}
