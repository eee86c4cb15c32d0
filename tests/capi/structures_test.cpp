// Structures that grow: hosts with older and newer headers.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "capi/parts.h"

extern "C" int headerIsUsableFromC(void);

namespace stiltforge::capi_test {
namespace {

// The print settings of a later version with one more field.
struct LaterSettings {
  stiltforge_print_settings known;
  double added;
};

std::string messageOf(const void* settings) {
  stiltforge_error error;
  stiltforge_parameters* parameters = nullptr;
  stiltforge_parameters_create_for_print(static_cast<const stiltforge_print_settings*>(settings),
                                         10, 10, 1, &parameters, &error);
  stiltforge_parameters_destroy(parameters);
  return error.message;
}

TEST(Structures, HeaderIsC) {
  EXPECT_TRUE(headerIsUsableFromC());
}

TEST(Structures, ANewerHostWorksWhileItAsksForNothingNew) {
  LaterSettings settings{};
  settings.known.struct_size = sizeof settings;
  settings.added = 7;
  ASSERT_EQ(stiltforge_print_settings_init(&settings.known, nullptr), STILTFORGE_OK);
  EXPECT_EQ(settings.added, 0) << "what is not known becomes zero";
  EXPECT_EQ(settings.known.struct_size, sizeof settings);
  EXPECT_EQ(messageOf(&settings), "");
  settings.added = 1;
  EXPECT_EQ(messageOf(&settings),
            "stiltforge_parameters_create_for_print: settings sets fields that this version of the "
            "library does not know.");
}

TEST(Structures, AnOlderHostNeedNotKnowTheLatestFields) {
  stiltforge_print_settings settings{};
  settings.struct_size = offsetof(stiltforge_print_settings, lift);
  settings.minimum_height = 7;
  ASSERT_EQ(stiltforge_print_settings_init(&settings, nullptr), STILTFORGE_OK);
  EXPECT_EQ(settings.support_area, 15);
  EXPECT_EQ(settings.minimum_height, 7) << "beyond the host's structure nothing is written";
  settings.lift = -1;
  EXPECT_EQ(messageOf(&settings), "") << "nor read";
}

TEST(Structures, ASizeThatCannotBeIsRefused) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{8}, std::size_t{4097}, ~std::size_t{0}}) {
    stiltforge_print_settings settings{};
    settings.struct_size = size;
    stiltforge_error error;
    EXPECT_EQ(stiltforge_print_settings_init(&settings, &error), STILTFORGE_INVALID_ARGUMENT);
    EXPECT_EQ(std::string(error.message),
              "stiltforge_print_settings_init: settings->struct_size is " + std::to_string(size) +
                  "; it must be the size of the structure, which is " +
                  std::to_string(sizeof settings) + " in this version.");
    EXPECT_EQ(settings.layer_height, 0) << "nothing is written";
    EXPECT_NE(messageOf(&settings), "");
  }
}

TEST(Structures, WhatTheLibraryFillsInKeepsToTheHostsSize) {
  struct {
    stiltforge_memory_estimate estimate;
    unsigned char beyond[16];
  } host{};
  std::memset(&host, 0xEE, sizeof host);
  host.estimate.struct_size = sizeof host.estimate;
  host::ModelSize size;
  size.width = 100;
  size.height = 100;
  ASSERT_EQ(stiltforge_estimate_memory(&size, &host.estimate, nullptr), STILTFORGE_OK);
  EXPECT_GT(host.estimate.total, 0u);
  for (const unsigned char byte : host.beyond) EXPECT_EQ(byte, 0xEE);
}

TEST(Structures, VersionsAgree) {
  EXPECT_EQ(std::string(stiltforge_version()), std::to_string(STILTFORGE_VERSION_MAJOR) + "." +
                                                   std::to_string(STILTFORGE_VERSION_MINOR) + "." +
                                                   std::to_string(STILTFORGE_VERSION_PATCH));
}

TEST(Structures, EachStatusHasItsName) {
  for (stiltforge_status status = STILTFORGE_OK; status <= STILTFORGE_INTERNAL; ++status) {
    EXPECT_EQ(std::string(stiltforge_status_name(status)).find("STILTFORGE_"), 0u) << status;
  }
  EXPECT_STREQ(stiltforge_status_name(-1), "unknown");
  EXPECT_STREQ(stiltforge_status_name(99), "unknown");
}

}  // namespace
}  // namespace stiltforge::capi_test
