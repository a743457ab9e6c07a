#pragma once

// Internal to platform/db: the one place that includes Firebird's object API. Nothing outside
// this folder includes it, so users of the SQL layer compile without Firebird's headers.

#include <firebird/Interface.h>

#include <string>
#include <vector>

namespace zo::fb {

Firebird::IMaster* Master();
Firebird::IUtil* Util();

// Firebird's own text for a status vector, lines separated by "\n".
std::string FormatStatus(Firebird::IStatus* status);

// Like Firebird's ThrowStatusWrapper, but what it throws is zo::EDatabaseError carrying the
// formatted text, so callers never see Firebird's exception type.
class ThrowStatus : public Firebird::BaseStatusWrapper<ThrowStatus> {
 public:
  explicit ThrowStatus(Firebird::IStatus* status) : BaseStatusWrapper(status) {}
  static void checkException(ThrowStatus* status);
};

// An IStatus for the duration of a scope (taken from and returned to a per-thread pool).
// Operations use Throwing(); releasing calls in destructors use Checking(), which never throws.
class Status {
 public:
  Status();
  ~Status();
  Status(const Status&) = delete;
  Status& operator=(const Status&) = delete;

  ThrowStatus* Throwing() { return &throwing_; }
  Firebird::CheckStatusWrapper* Checking() { return &checking_; }
  bool Failed() const;

 private:
  Firebird::IStatus* status_;
  ThrowStatus throwing_;
  Firebird::CheckStatusWrapper checking_;
};

// Builds a DPB or TPB with Firebird's builder and hands out a copy of the bytes.
class ParamBlock {
 public:
  explicit ParamBlock(unsigned kind);  // Firebird::IXpbBuilder::DPB or ::TPB
  ~ParamBlock();
  ParamBlock(const ParamBlock&) = delete;
  ParamBlock& operator=(const ParamBlock&) = delete;

  ParamBlock& Tag(unsigned char tag);
  ParamBlock& Int(unsigned char tag, int value);
  ParamBlock& String(unsigned char tag, const std::string& value);
  std::vector<unsigned char> Bytes();

 private:
  Firebird::IXpbBuilder* builder_;
};

}  // namespace zo::fb
