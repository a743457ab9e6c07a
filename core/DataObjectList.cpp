#include <zo/core/DataObjectList.h>

#include <zo/core/Exceptions.h>

namespace zo {

TBaseDataObject& TDataObjectList::Add(std::unique_ptr<TBaseDataObject> item) {
  if (!item) throw Exception("Item nulo na lista de " + itemClass_->Name());
  if (!item->ClassType()->InheritsFrom(itemClass_)) {
    throw Exception("Objeto da classe " + item->ClassName() + " não pode entrar numa lista de " +
                    itemClass_->Name());
  }
  items_.push_back(std::move(item));
  return *items_.back();
}

std::unique_ptr<TBaseDataObject> TDataObjectList::Extract(size_t index) {
  auto item = std::move(items_.at(index));
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
  return item;
}

void TDataObjectList::MoveFrom(TDataObjectList& other) {
  for (auto& item : other.items_) Add(std::move(item));
  other.items_.clear();
}

}  // namespace zo
