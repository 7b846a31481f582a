#include "kavro_broker.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

// The library as a Windows program loads it by hand.

TEST(Dll, StaysLoadedOnceItIs) {
    const HMODULE library = LoadLibraryA("broker_client.dll");
    ASSERT_NE(library, nullptr);
    const auto version = reinterpret_cast<decltype(&kavro_broker_get_version)>(
        reinterpret_cast<void *>(GetProcAddress(library, "kavro_broker_get_version")));
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(), "broker_client " KAVRO_VERSION);

    // A thread of its own may still be about to return into it.
    for (int i = 0; i < 3; ++i)
        FreeLibrary(library);
    EXPECT_EQ(GetModuleHandleA("broker_client.dll"), library);
}

TEST(Dll, CarriesItsVersion) {
    const char *const file = "broker_client.dll";
    std::vector<char> resource(GetFileVersionInfoSizeA(file, nullptr));
    ASSERT_NE(GetFileVersionInfoA(file, 0, static_cast<DWORD>(resource.size()), resource.data()),
              0);
    void *text = nullptr;
    UINT length = 0;
    ASSERT_NE(
        VerQueryValueA(resource.data(), "\\StringFileInfo\\040904b0\\FileVersion", &text, &length),
        0);
    EXPECT_STREQ(static_cast<const char *>(text), KAVRO_VERSION);
}
