#include "platform/db/ConnectOptions.h"

#include <zo/core/Exceptions.h>
#include "platform/db/AttachString.h"
#include "platform/db/FbApi.h"

namespace zo::db {
namespace {

unsigned DialectOf(const TConnectionParams& params) {
  const std::string text = params.Values("SQLDialect");
  if (text.empty()) {
    return 3;
  }
  if (text != "1" && text != "2" && text != "3") {
    throw Exception("Invalid SQLDialect \"" + text + "\": expected 1, 2 or 3");
  }
  return static_cast<unsigned>(text[0] - '0');
}

std::string CharSetOf(const TConnectionParams& params) {
  for (const char* key : {"ServerCharSet", "CharSet"}) {
    if (std::string value = params.Values(key); !value.empty()) {
      return value;
    }
  }
  return "UTF8";
}

}  // namespace

ConnectOptions BuildConnectOptions(const TConnectionParams& params,
                                   const std::string& baseDirectory) {
  ConnectOptions options;
  options.attachString = AttachString(params, baseDirectory);
  options.dialect = DialectOf(params);

  fb::ParamBlock dpb(Firebird::IXpbBuilder::DPB);
  const auto addIfSet = [&](unsigned char tag, const char* key) {
    if (const std::string value = params.Values(key); !value.empty()) {
      dpb.String(tag, value);
    }
  };
  addIfSet(isc_dpb_user_name, "User_Name");
  addIfSet(isc_dpb_password, "Password");
  addIfSet(isc_dpb_sql_role_name, "RoleName");
  dpb.String(isc_dpb_lc_ctype, CharSetOf(params));
  dpb.Int(isc_dpb_sql_dialect, static_cast<int>(options.dialect));
  options.dpb = dpb.Bytes();
  return options;
}

}  // namespace zo::db
