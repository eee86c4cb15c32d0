#include <gtest/gtest.h>

#include <cstddef>

#include "model/parameters.h"
#include "stiltforge/stiltforge.h"

namespace stiltforge {
namespace {

TEST(ParameterInfo, TellsTheOneTable) {
  ASSERT_EQ(stiltforge_parameter_count(), parameterTable().size());
  stiltforge_parameter_info info{};
  info.struct_size = sizeof info;
  for (std::size_t i = 0; i < parameterTable().size(); ++i) {
    const Parameter& row = parameterTable()[i];
    ASSERT_EQ(stiltforge_get_parameter_info(i, &info, nullptr), STILTFORGE_OK);
    EXPECT_STREQ(info.name, row.name);
    EXPECT_STREQ(info.unit, row.unit);
    EXPECT_STREQ(info.summary, row.summary);
    EXPECT_EQ(info.least, row.least);
    EXPECT_EQ(info.most, row.most);
    EXPECT_EQ(info.default_value, storedParameter({}, row));
  }
  EXPECT_EQ(stiltforge_get_parameter_info(parameterTable().size(), &info, nullptr),
            STILTFORGE_INVALID_ARGUMENT);
}

}  // namespace
}  // namespace stiltforge
