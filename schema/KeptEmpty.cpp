// The schema layer's operations that are deliberately empty, in one place. Callers rely on them
// as they are: changing one is a change of behaviour, not a fix.
#include <zo/schema/DBScriptRunner.h>

namespace zo {

// Runs nothing: a caller runs the script through the script component itself (IBScript()).
void TSQLScriptRunner::execute() {}

// The parse event's handler: nothing to do for a statement about to run.
void TSQLScriptRunner::parse(TObject* /*sender*/, TIBParseKind /*kind*/,
                             const std::string& /*sqlText*/) {}

}  // namespace zo
