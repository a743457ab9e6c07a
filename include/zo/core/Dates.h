#pragma once

#include <zo/Export.h>

#include <chrono>
#include <cstdint>
#include <ostream>
#include <string>

namespace zo {

// Dates are kept as the number of days since 1899-12-30 (the fraction is the time of day), the
// representation the database layer and the JSON wire agree on. Zero means "no date".
namespace dates {

struct ZO_EXPORT CivilDateTime {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0, millisecond = 0;
};

ZO_EXPORT double FromCivil(const CivilDateTime& c);
ZO_EXPORT CivilDateTime ToCivil(double days);
ZO_EXPORT double FromTimePoint(std::chrono::system_clock::time_point tp);
ZO_EXPORT std::chrono::system_clock::time_point ToTimePoint(double days);
ZO_EXPORT double Now();  // local wall-clock time

// "YYYY-MM-DD", "YYYY-MM-DD HH:MM:SS.zzz", "HH:MM:SS.zzz".
ZO_EXPORT std::string FormatDate(double days);
ZO_EXPORT std::string FormatDateTime(double days);
ZO_EXPORT std::string FormatTime(double days);
// Accepts "YYYY-MM-DD", "YYYY-MM-DD[T ]HH:MM[:SS[.fff]]" and "HH:MM[:SS[.fff]]"; throws
// zo::Exception on anything else.
ZO_EXPORT double ParseIso(const std::string& text);

}  // namespace dates

// Strong wrappers so that a property's C++ type says which kind of date it holds.
template <class Tag>
struct TDateValue {
  double value = 0;
  constexpr TDateValue() = default;
  constexpr explicit TDateValue(double days) : value(days) {}
  bool IsZero() const { return value == 0; }
  friend bool operator==(const TDateValue&, const TDateValue&) = default;
};

struct ZO_EXPORT TDateTag {};
struct ZO_EXPORT TDateTimeTag {};
struct ZO_EXPORT TTimeTag {};

struct ZO_EXPORT TDate : TDateValue<TDateTag> {
  using TDateValue::TDateValue;
  static TDate FromYMD(int y, int m, int d) { return TDate(dates::FromCivil({y, m, d})); }
  std::string ToIso() const { return dates::FormatDate(value); }
};

struct ZO_EXPORT TDateTime : TDateValue<TDateTimeTag> {
  using TDateValue::TDateValue;
  static TDateTime Now() { return TDateTime(dates::Now()); }
  static TDateTime FromParts(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
    return TDateTime(dates::FromCivil({y, mo, d, h, mi, s, ms}));
  }
  std::string ToIso() const { return dates::FormatDateTime(value); }
};

struct ZO_EXPORT TTime : TDateValue<TTimeTag> {
  using TDateValue::TDateValue;
  static TTime FromHMS(int h, int m, int s = 0, int ms = 0) {
    return TTime(dates::FromCivil({1899, 12, 30, h, m, s, ms}));
  }
  std::string ToIso() const { return dates::FormatTime(value); }
};

inline std::ostream& operator<<(std::ostream& os, const TDate& d) { return os << d.ToIso(); }
inline std::ostream& operator<<(std::ostream& os, const TDateTime& d) { return os << d.ToIso(); }
inline std::ostream& operator<<(std::ostream& os, const TTime& d) { return os << d.ToIso(); }

}  // namespace zo
