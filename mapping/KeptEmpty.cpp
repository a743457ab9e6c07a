// The mapping layer's operation that is deliberately constant, kept apart so that a reader
// finds it with the other layers' (persistence/, dao/, schema/, server/ KeptEmpty.cpp).
#include <zo/core/Exceptions.h>
#include <zo/mapping/ServerClasses.h>

namespace zo {

// Disabled on purpose: whatever it is given, it refuses, and no schema is made through it.
void TDataObjectInfoDB::GenerateDataBase(const std::string& /*name*/,
                                         const std::vector<TDataObjectClass>& /*classes*/,
                                         bool /*flag1*/, bool /*flag2*/) {
  throw Exception("Eu desativei esta função");
}

}  // namespace zo
