#include <zo/server/Components.h>

#include <nlohmann/json.hpp>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/platform/db/DBXCommand.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>
#include <zo/platform/db/DataTypes.h>
#include <zo/platform/db/SQLConnection.h>

namespace zo {

TComponent::~TComponent() {
  // Owned components go in reverse order of creation: later ones may point at earlier ones.
  while (!components_.empty()) components_.pop_back();
}

void TComponent::Adopt(std::unique_ptr<TComponent> component) {
  component->owner_ = this;
  components_.push_back(std::move(component));
}

TComponent* TComponent::FindComponent(const std::string& name) const {
  for (const auto& c : components_) {
    if (text::SameText(c->Name(), name)) return c.get();
  }
  return nullptr;
}

nlohmann::json TSQLDataSet::Rows() const {
  if (connection_ == nullptr) throw Exception("Conexão não atribuída: " + Name());
  auto cmd = connection_->DBXConnection().CreateCommand();
  cmd->SetText(commandText_);
  auto reader = cmd->ExecuteQuery();
  nlohmann::json rows = nlohmann::json::array();
  while (reader->Next()) {
    nlohmann::json row = nlohmann::json::object();
    for (int c = 0; c < reader->ColumnCount(); ++c) {
      row[reader->ColumnName(c)] =
          reader->IsNull(c) ? nlohmann::json(nullptr) : nlohmann::json(reader->GetString(c));
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

nlohmann::json TDataSetProvider::GetRecords() const {
  if (dataSet_ == nullptr) throw Exception("Provedor sem conjunto de dados: " + Name());
  return dataSet_->Rows();
}

}  // namespace zo
