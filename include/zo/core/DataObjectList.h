#pragma once

#include <zo/Export.h>

#include <memory>
#include <vector>

#include <zo/core/BaseDataObject.h>

namespace zo {

// An owning list of data objects of one item class: the type of aggregated-list properties.
class ZO_EXPORT TDataObjectList : public TObject {
 public:
  explicit TDataObjectList(TDataObjectClass itemClass) : itemClass_(itemClass) {}

  TDataObjectClass ItemClass() const { return itemClass_; }
  size_t Count() const { return items_.size(); }
  bool Empty() const { return items_.empty(); }
  TBaseDataObject* Item(size_t index) const { return items_.at(index).get(); }

  // Takes ownership; the item must be of the item class or a descendant.
  TBaseDataObject& Add(std::unique_ptr<TBaseDataObject> item);
  std::unique_ptr<TBaseDataObject> Extract(size_t index);
  void Clear() { items_.clear(); }
  // Moves every item of `other` to the end of this list.
  void MoveFrom(TDataObjectList& other);

  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  TDataObjectClass itemClass_;
  std::vector<std::unique_ptr<TBaseDataObject>> items_;
};

template <class T>
class TObjectList : public TDataObjectList {
 public:
  TObjectList() : TDataObjectList(&T::StaticType()) {}

  T* operator[](size_t index) const { return static_cast<T*>(Item(index)); }
  T& Add(std::unique_ptr<T> item) { return static_cast<T&>(TDataObjectList::Add(std::move(item))); }
  T& AddNew() { return Add(std::make_unique<T>()); }
};

}  // namespace zo
