#include "AvoApp/TimeOfDay.h"

#include <gtest/gtest.h>

namespace {

using AvoApp::TimeOfDay;

TEST(TimeOfDay, CreateAcceptsOnlyFieldsWithinTheirRanges) {
  const struct {
    int hour, minute, second, day;
    bool valid;
  } cases[] = {
      {0, 0, 0, 0, true},   {23, 59, 59, 7, true}, {24, 0, 0, 0, false}, {-1, 0, 0, 0, false},
      {0, 60, 0, 0, false}, {0, -1, 0, 0, false},  {0, 0, 60, 0, false}, {0, 0, -1, 0, false},
      {0, 0, 0, 8, false},  {0, 0, 0, -1, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(TimeOfDay::Create(c.hour, c.minute, c.second, c.day).has_value(), c.valid)
        << c.hour << ":" << c.minute << ":" << c.second << " day " << c.day;
  }
}

} // namespace
