// The persistence operations that are deliberately empty or constant, in one place. Their
// callers rely on them as they are: changing one is a change of behaviour, not a fix.
#include <zo/persistence/Helpers.h>
#include <zo/persistence/Values.h>

namespace zo {

// Always 0, without touching the database.
int32_t GetMax(TDBXConnection& /*connection*/, const TRttiProperty* /*prop*/,
               const std::string& /*condition*/) {
  return 0;
}

// A pass-through: callers rely on getting their argument back unchanged.
std::string DesencryptStr(const std::string& s) { return s; }

}  // namespace zo
