// Every exported function gives the bytes of the stored list, on every system.
#include <gtest/gtest.h>

#include "robust/digest.h"

namespace robust {
namespace {

TEST(Digests, AreThoseOfTheStoredList) {
  std::map<std::string, std::string> stored = read_digests("tests/robust/digests.txt");
  for (const Variant& variant : variants()) {
    for (const int side : kDigestSides) {
      const Group group = digest(variant, side);
      EXPECT_EQ(stored[group.name], hexadecimal(group.hash()))
          << group.name << "; if its scenes were changed on purpose: scripts/digests.sh";
      stored.erase(group.name);
    }
  }
  for (const auto& [name, hash] : stored) ADD_FAILURE() << name << " is no longer drawn";
}

}  // namespace
}  // namespace robust
