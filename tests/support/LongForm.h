// With ZQ_TEST_LONG in the environment, which scripts/soak.sh sets, tests run their long forms.
#pragma once

#include <cstdlib>

namespace zq::test {

inline int Long(int longForm, int shortForm) { return std::getenv("ZQ_TEST_LONG") ? longForm : shortForm; }

} // namespace zq::test
