#include "LogCapture.h"

#include "AvoObjectModel/KnxConverter.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace Avo;

/// Builds a range and compares its scale factor, its text and its lines: none,
/// or the CalculateScaleFactor ERROR line that goes on after "...because of
/// invalid " with `error`.
template <class Range, class Bound>
void Check(const std::vector<Bound>& bounds, double scaleFactor, const std::string& text,
           const std::string& error) {
  SCOPED_TRACE(text);
  AvoTest::ScopedLogCapture capture;
  const Range range(bounds[0], bounds[1], bounds[2], bounds[3]);
  EXPECT_DOUBLE_EQ(range.GetScaleFactor(), scaleFactor);
  EXPECT_EQ(range.ToString(), text);
  const std::string line = "Failed to calculate the scale factor because of invalid " + error;
  EXPECT_EQ(capture.Lines(),
            std::vector<AvoTest::LogLine>(
                error.empty() ? 0 : 1,
                AvoTest::Line(log4cplus::ERROR_LOG_LEVEL, line, "CalculateScaleFactor")));
}

using Integers = std::vector<std::int64_t>;
using Doubles = std::vector<double>;

// Integer pairs are not ordered: a reversed pair gives a negative factor. The
// 64-bit class prints the same prefix.
TEST(Range, IntegerRanges) {
  // clang-format off
  Check<IntegerRange>(Integers{0, 100, 0, 255}, 2.55, "IntegerRange(0, 100, 0, 255)", "");
  Check<IntegerRange>(Integers{0, 10, 100, 0}, -10.0, "IntegerRange(0, 10, 100, 0)", "");
  Check<IntegerRange>(Integers{INT32_MIN, INT32_MAX, 0, 255}, 255.0 / 4294967295.0, "IntegerRange(-2147483648, 2147483647, 0, 255)", "");
  Check<IntegerRange>(Integers{0, 0, 0, 100}, 1.0, "IntegerRange(0, 0, 0, 100)", "internal range [0, 0].");
  Check<IntegerRange>(Integers{0, 10, 5, 5}, 1.0, "IntegerRange(0, 10, 5, 5)", "external range [5, 5].");
  Check<LongIntegerRange>(Integers{0, 4294967295, 0, 16777215}, 16777215.0 / 4294967295.0, "IntegerRange(0, 4294967295, 0, 16777215)", "");
  Check<LongIntegerRange>(Integers{INT64_MIN, INT64_MAX, INT64_MAX, INT64_MIN}, -1.0,
      "IntegerRange(-9223372036854775808, 9223372036854775807, 9223372036854775807, -9223372036854775808)", "");
  Check<LongIntegerRange>(Integers{7, 7, 0, 1}, 1.0, "IntegerRange(7, 7, 0, 1)", "internal range [7, 7].");
  Check<LongIntegerRange>(Integers{0, 1, -3, -3}, 1.0, "IntegerRange(0, 1, -3, -3)", "external range [-3, -3].");
  // clang-format on
}

// Float pairs are ordered: the factor is never negative. A factor that
// underflows to 0 becomes 1 (the mixed class's text lacks an "of", kept).
TEST(Range, FloatRanges) {
  // clang-format off
  Check<FloatIntegerRange>(Doubles{-100, 100, 0, 15}, 0.075, "FloatIntegerRange(-100, 100, 0, 15)", "");
  Check<FloatIntegerRange>(Doubles{1.5, 1.5, 0, 15}, 1.0, "FloatIntegerRange(1.5, 1.5, 0, 15)", "double range [1.5, 1.5].");
  Check<FloatIntegerRange>(Doubles{0, 1, 3, 3}, 1.0, "FloatIntegerRange(0, 1, 3, 3)", "integer range [3, 3].");
  Check<FloatIntegerRange>(Doubles{-DBL_MAX, DBL_MAX, 0, 1}, 1.0, "FloatIntegerRange(-1.79769e+308, 1.79769e+308, 0, 1)",
      "double range [-1.79769e+308, 1.79769e+308] or because invalid integer range [0, 1].");
  Check<FloatRange>(Doubles{0, 10, 100, 0}, 10.0, "FloatRange(0, 10, 100, 0)", "");
  Check<FloatRange>(Doubles{2, 2, 0, 1}, 1.0, "FloatRange(2, 2, 0, 1)", "double range [2, 2].");
  Check<FloatRange>(Doubles{0, 1, 0.25, 0.25}, 1.0, "FloatRange(0, 1, 0.25, 0.25)", "external range [0.25, 0.25].");
  Check<FloatRange>(Doubles{0, 1e300, 0, 1e-300}, 1.0, "FloatRange(0, 1e+300, 0, 1e-300)",
      "double range [0, 1e+300] or because invalid external range [0, 1e-300].");
  // clang-format on
  const FloatIntegerRange byDefault;
  EXPECT_EQ(byDefault.ToString(), "FloatIntegerRange(-671089, 670761, -2147483648, 2147483647)");
  EXPECT_DOUBLE_EQ(byDefault.GetScaleFactor(), 4294967295.0 / (670760.96 + 671088.64));
}

} // namespace
