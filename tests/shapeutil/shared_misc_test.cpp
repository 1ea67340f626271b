#include <thread>

#include <gtest/gtest.h>

#include "shapeutil/clsLMisc.h"
#include "tests/support/test_host.h"

namespace ohmwise {
namespace {

TEST(SharedMiscTest, OnePerThreadUntilItsHostEnds) {
  testing::TestHost host;
  const HostScope scope(host);
  const clsLMisc* const mine = &SharedMisc();
  EXPECT_EQ(mine, &SharedMisc());
  const clsLMisc* other = nullptr;
  std::thread([&] {
    testing::TestHost own;
    const HostScope own_scope(own);
    other = &SharedMisc();
    EXPECT_EQ(other, &SharedMisc());
  }).join();
  EXPECT_NE(mine, other);
  EXPECT_EQ(mine, &SharedMisc());
}

}  // namespace
}  // namespace ohmwise
