#include <zo/core/Dates.h>

#include <cmath>
#include <cstdio>
#include <ctime>

#include <zo/core/Exceptions.h>

namespace zo::dates {
namespace {

using namespace std::chrono;

constexpr sys_days kEpoch = sys_days(year{1899} / December / 30);
constexpr double kMsPerDay = 86400000.0;

// Splits a day count into whole days and milliseconds of the day, rounding to the nearest
// millisecond so that values written and read back compare equal.
void Split(double days, int64_t& wholeDays, int64_t& msOfDay) {
  const auto totalMs = static_cast<int64_t>(std::llround(days * kMsPerDay));
  wholeDays = totalMs / 86400000;
  msOfDay = totalMs % 86400000;
  if (msOfDay < 0) {
    msOfDay += 86400000;
    wholeDays -= 1;
  }
}

}  // namespace

double FromCivil(const CivilDateTime& c) {
  const year_month_day ymd{year{c.year}, month{static_cast<unsigned>(c.month)},
                           day{static_cast<unsigned>(c.day)}};
  if (!ymd.ok()) {
    throw Exception("Data inválida");
  }
  const double wholeDays = (sys_days(ymd) - kEpoch).count();
  const double ms = ((c.hour * 60.0 + c.minute) * 60.0 + c.second) * 1000.0 + c.millisecond;
  return wholeDays + ms / kMsPerDay;
}

CivilDateTime ToCivil(double days) {
  int64_t wholeDays = 0;
  int64_t ms = 0;
  Split(days, wholeDays, ms);
  const year_month_day ymd{kEpoch + std::chrono::days{wholeDays}};
  CivilDateTime c;
  c.year = static_cast<int>(ymd.year());
  c.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
  c.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
  c.hour = static_cast<int>(ms / 3600000);
  c.minute = static_cast<int>(ms / 60000 % 60);
  c.second = static_cast<int>(ms / 1000 % 60);
  c.millisecond = static_cast<int>(ms % 1000);
  return c;
}

double FromTimePoint(system_clock::time_point tp) {
  const auto ms = duration_cast<milliseconds>(tp - system_clock::time_point(kEpoch)).count();
  return static_cast<double>(ms) / kMsPerDay;
}

system_clock::time_point ToTimePoint(double days) {
  const auto ms = static_cast<int64_t>(std::llround(days * kMsPerDay));
  return system_clock::time_point(kEpoch) + milliseconds(ms);
}

double Now() {
  const auto now = system_clock::now();
  const std::time_t t = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&t, &local);
  const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
  return FromCivil({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                    local.tm_min, local.tm_sec, static_cast<int>(ms)});
}

std::string FormatDate(double days) {
  const auto c = ToCivil(days);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", c.year, c.month, c.day);
  return buf;
}

std::string FormatTime(double days) {
  const auto c = ToCivil(days);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%02d:%02d:%02d.%03d", c.hour, c.minute, c.second, c.millisecond);
  return buf;
}

std::string FormatDateTime(double days) { return FormatDate(days) + " " + FormatTime(days); }

double ParseIso(const std::string& text) {
  CivilDateTime c;
  int consumed = 0;
  const char* s = text.c_str();
  const auto fail = [&]() -> double { throw Exception("'" + text + "' não é uma data válida"); };
  if (std::sscanf(s, "%4d-%2d-%2d%n", &c.year, &c.month, &c.day, &consumed) == 3) {
    s += consumed;
    if (*s == 'T' || *s == ' ') {
      ++s;
    } else if (*s == '\0') {
      return FromCivil(c);
    } else {
      return fail();
    }
  } else {
    c = CivilDateTime{};
  }
  consumed = 0;
  if (std::sscanf(s, "%2d:%2d%n", &c.hour, &c.minute, &consumed) != 2) return fail();
  s += consumed;
  if (*s == ':') {
    consumed = 0;
    if (std::sscanf(s, ":%2d%n", &c.second, &consumed) != 1) return fail();
    s += consumed;
    if (*s == '.') {
      ++s;
      int digits = 0;
      int ms = 0;
      while (*s >= '0' && *s <= '9') {
        if (digits < 3) ms = ms * 10 + (*s - '0');
        ++digits;
        ++s;
      }
      if (digits == 0) return fail();
      for (int d = digits; d < 3; ++d) ms *= 10;
      c.millisecond = ms;
    }
  }
  if (*s == 'Z') ++s;
  if (*s != '\0' || c.hour > 23 || c.minute > 59 || c.second > 59) return fail();
  return FromCivil(c);
}

}  // namespace zo::dates
