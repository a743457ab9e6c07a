#include <zo/core/BaseDataObject.h>

namespace zo {

TRttiType& TBaseDataObject::StaticType() {
  static TRttiType type("TBaseDataObject", nullptr, detail::FactoryFor<TBaseDataObject>());
  return type;
}

}  // namespace zo
