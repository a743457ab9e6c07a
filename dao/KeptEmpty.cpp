// The DAO layer's operations that are deliberately empty, in one place. Callers rely on them as
// they are: changing one is a change of behaviour, not a fix.
#include <zo/dao/GenericDAO.h>
#include <zo/dao/WaitScreen.h>

namespace zo {

// The wait screen counts in percent; the count is accepted for callers such as
// TGenericDAO::Delete and not sent.
void SetWaitCount(TZoCallback* /*callback*/, int /*count*/) {}

// The hook for descendants: the generic DAO checks nothing of its own.
void TGenericDAO::Validate(TBaseDataObject& /*obj*/) {}

}  // namespace zo
