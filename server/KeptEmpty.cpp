// The server module's operations that are deliberately empty, in one place. Callers rely on
// them as they are: changing one is a change of behaviour, not a fix.
#include <zo/server/CustomServerModule.h>

namespace zo {

// A remote method clients call when they let go of the module; it does nothing.
void TZoCustomServerModule::Release() {}

// The logging hooks: callers still format and pass the text; descendants may record it.
void TZoCustomServerModule::AddToDataBaseLog(const std::string& /*text*/, TTipoLogger /*tipo*/,
                                             int32_t /*erro*/) {}
void TZoCustomServerModule::ClearLog() {}

}  // namespace zo
