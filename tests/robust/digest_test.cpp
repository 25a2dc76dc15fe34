// Every exported function gives the bytes of the stored list, on every system.
#include <gtest/gtest.h>

#include "robust/digest.h"
#include "support/targets.h"

namespace robust {
namespace {

using Digests = std::map<std::string, std::string>;

const Digests& stored() {
  static const Digests digests = read_digests("tests/robust/digests.txt");
  return digests;
}

std::string stored_hash(const std::string& name) {
  const auto found = stored().find(name);
  return found == stored().end() ? "nothing" : found->second;
}

TEST(Digests, AreThoseOfTheStoredList) {
  size_t drawn = 0;
  for (const Variant& variant : variants()) {
    for (const Size size : kDigestSizes) {
      const Group group = digest(variant, size);
      EXPECT_EQ(stored_hash(group.name), hexadecimal(group.hash()))
          << group.name << "; if its scenes were changed on purpose: scripts/digests.sh";
      ++drawn;
    }
  }
  EXPECT_EQ(stored().size(), drawn) << "some are no longer drawn";
}

// The smaller sizes have all remainders of vectors; the others would take minutes here.
TEST(Digests, DoNotDependOnTheInstructionSet) {
  test::on_every_target([] {
    for (const Variant& variant : variants()) {
      for (const Size size : {kDigestSizes[1], kDigestSizes[3]}) {
        const Group group = digest(variant, size);
        EXPECT_EQ(stored_hash(group.name), hexadecimal(group.hash())) << group.name;
      }
    }
  });
}

}  // namespace
}  // namespace robust
