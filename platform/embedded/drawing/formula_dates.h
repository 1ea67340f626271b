#pragma once

namespace ohmwise::embedded {

/// A date and time of the drawing program: days since 30 December 1899,
/// fraction the time of day.
struct DateParts {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0;
  int weekday = 0;  ///< 0 Sunday
};
DateParts SplitDate(double days);
/// Days of a date in the proleptic Gregorian calendar; months and days out of
/// range carry over.
double JoinDate(int year, int month, int day);

}  // namespace ohmwise::embedded
