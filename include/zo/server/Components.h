#pragma once

#include <zo/Export.h>

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo {

class TSQLConnection;

// A named object that owns the components created with it as owner, in creation order.
class ZO_EXPORT TComponent {
 public:
  TComponent() = default;
  TComponent(const TComponent&) = delete;
  TComponent& operator=(const TComponent&) = delete;
  virtual ~TComponent();

  const std::string& Name() const { return name_; }
  void SetName(std::string name) { name_ = std::move(name); }
  TComponent* Owner() const { return owner_; }

  template <class T>
  T& AddComponent(std::unique_ptr<T> component) {
    T& ref = *component;
    Adopt(std::move(component));
    return ref;
  }
  int ComponentCount() const { return static_cast<int>(components_.size()); }
  TComponent* Components(int index) const { return components_.at(index).get(); }
  TComponent* FindComponent(const std::string& name) const;  // ignores ASCII case

  // Design state: a component being edited, not run. Nothing at run time sets it.
  bool Designing() const { return designing_; }
  void SetDesigning(bool designing) { designing_ = designing; }

 private:
  void Adopt(std::unique_ptr<TComponent> component);

  std::string name_;
  TComponent* owner_ = nullptr;
  bool designing_ = false;
  std::vector<std::unique_ptr<TComponent>> components_;
};

// A query over a connection whose rows a provider serves to clients.
class ZO_EXPORT TSQLDataSet : public TComponent {
 public:
  const std::string& CommandText() const { return commandText_; }
  void SetCommandText(std::string text) { commandText_ = std::move(text); }
  TSQLConnection* SQLConnection() const { return connection_; }
  void SetSQLConnection(TSQLConnection* connection) { connection_ = connection; }
  // Runs the query: an array of rows, each an object of column name to value.
  nlohmann::json Rows() const;

 private:
  std::string commandText_;
  TSQLConnection* connection_ = nullptr;
};

// Serves a data set's rows under its own name ("dsp" + the data set's name).
class ZO_EXPORT TDataSetProvider : public TComponent {
 public:
  TSQLDataSet* DataSet() const { return dataSet_; }
  void SetDataSet(TSQLDataSet* dataSet) { dataSet_ = dataSet; }
  nlohmann::json GetRecords() const;

 private:
  TSQLDataSet* dataSet_ = nullptr;
};

}  // namespace zo
