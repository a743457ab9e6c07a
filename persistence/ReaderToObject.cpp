// Copying one row into a data object: the column of each persistent property, converted by
// the property's type, then the objects that hang off it (compositions, hosted objects, lists).
#include <fmt/printf.h>

#include <algorithm>

#include <zo/core/Attributes.h>
#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>
#include <zo/mapping/ObjectInfoCache.h>
#include <zo/persistence/Reading.h>
#include <zo/platform/db/DataTypes.h>
#include "persistence/RowReading.h"

namespace zo {
namespace {

// What the first pass needs of the metadata, taken once: loading nested objects may re-point
// shared metadata entries at another host while this row is being read.
struct TRowShape {
  std::vector<const TRttiProperty*> properties;
  const TRttiProperty* key;
  TDataObjectClass hostClass;
  std::string fieldPrefix;
  std::string className;
};

TValue Scalar(TValue::Data data) { return TValue(nullptr, std::move(data)); }

bool IsDateType(const std::string& typeName) {
  return typeName == "TDate" || typeName == "TDateTime" || typeName == "TTime";
}

void AssignObject(TDBXConnection& connection, const TDBXReader& reader, int column,
                  const TRttiProperty* prop, TBaseDataObject& object,
                  std::vector<detail::TPendingMember>* pending) {
  if (reader.IsNull(column)) {
    prop->SetObject(object, nullptr);
    return;
  }
  if (reader.GetColumnType(column) == TDBXDataTypes::BlobType && prop->TypeName() == "TStream") {
    prop->SetObject(object, std::make_unique<TMemoryStream>(reader.GetBytes(column)));
  } else if (IsComposition(prop) && pending != nullptr) {
    pending->push_back({&object, prop, reader.GetInt32(column)});
  } else if (IsComposition(prop)) {
    auto member = GetDataObject(connection, reader.GetInt32(column), prop->PropertyClass());
    member->SetParent(&object);
    prop->SetObject(object, std::move(member));
  }
  // Any other object-valued property is left as it is.
}

void Assign(TDBXConnection& connection, const TDBXReader& reader, int column,
            const TRttiProperty* prop, TBaseDataObject& object,
            std::vector<detail::TPendingMember>* pending) {
  const std::string& typeName = prop->TypeName();
  switch (prop->Kind()) {
    case TTypeKind::tkInteger:
      // -1 is the marker of "no reference".
      if (typeName == "TForeignKey" && reader.IsNull(column)) {
        prop->SetValue(object, Scalar(int64_t{-1}));
      } else {
        prop->SetValue(object, Scalar(int64_t{reader.GetInt32(column)}));
      }
      return;
    case TTypeKind::tkInt64:
      prop->SetValue(object, Scalar(reader.GetInt64(column)));
      return;
    case TTypeKind::tkEnumeration:
      if (typeName == "Boolean") {
        prop->SetValue(object, Scalar(!reader.IsNull(column) && reader.GetBoolean(column)));
      } else {
        prop->SetValue(object, Scalar(int64_t{reader.GetInt32(column)}));
      }
      return;
    case TTypeKind::tkFloat:
      if (reader.IsNull(column)) {
        prop->SetValue(object, Scalar(0.0));
      } else {
        prop->SetValue(object, Scalar(IsDateType(typeName) ? reader.GetDateTime(column)
                                                           : reader.GetDouble(column)));
      }
      return;
    case TTypeKind::tkChar:
    case TTypeKind::tkWChar:
      prop->SetValue(object, Scalar(text::Utf8FirstChar(reader.GetString(column))));
      return;
    case TTypeKind::tkString:
    case TTypeKind::tkLString:
    case TTypeKind::tkWString:
    case TTypeKind::tkUString:
      // Text blobs included: the UTF-8 Firebird gives for the Latin-1 column is kept as is.
      prop->SetValue(object, Scalar(reader.GetString(column)));
      return;
    case TTypeKind::tkClass:
    case TTypeKind::tkPointer:
    case TTypeKind::tkUnknown:
      AssignObject(connection, reader, column, prop, object, pending);
      return;
    default:
      return;  // sets, methods, variants, arrays, records, interfaces: not read
  }
}

// An object kept in its host's table under the owner's identifier.
void LoadHosted(TDBXConnection& connection, const TRowShape& shape, const TRttiProperty* prop,
                TBaseDataObject& object) {
  const TDataObjectClass host = shape.hostClass ? shape.hostClass : GetHostClass(prop);
  prop->SetObject(object, GetDataObject(connection, object.GetCodigo(), prop->PropertyClass(), host,
                                        GetAttribName(prop)));
}

// A hosted object whose columns the statement selected along with its owner's: read from the
// same row, as GetDataObject would read it from the row of its own statement.
void FillHosted(TDBXConnection& connection, TDBXReader& reader, const TRowShape& shape,
                const TRttiProperty* prop, TBaseDataObject& object) {
  const TDataObjectClass host = shape.hostClass ? shape.hostClass : GetHostClass(prop);
  TDataObjectInfoDB& info = *GetObjectInfoDB(prop->PropertyClass(), host, GetAttribName(prop));
  auto member = prop->PropertyClass()->Create();
  ReaderToObject(connection, reader, info, *member, true);
  member->SetCodigo(reader.GetInt32(reader.GetOrdinal(info.HostKeyName())));
  prop->SetObject(object, std::move(member));
}

std::string ColumnOf(const TRowShape& shape, const TRttiProperty* prop) {
  const bool isKey = prop == shape.key;
  std::string column =
      (isKey && shape.hostClass) ? shape.hostClass->GetIdName() : GetAttribName(prop);
  if (!shape.fieldPrefix.empty() && !isKey) column = shape.fieldPrefix + "_" + column;
  return column;
}

int OrdinalOf(const TDBXReader& reader, const std::string& column, const TRowShape& shape) {
  try {
    return reader.GetOrdinal(column);
  } catch (const std::exception&) {
    throw Exception("Campo \"" + column + "\" não encontrado no reader. Classe \"" +
                    shape.className + "\"");
  }
}

struct TRowContext {
  const std::vector<const TRttiProperty*>& hostedInRow;
  std::vector<detail::TPendingMember>* pending;
};

void ReadProperty(TDBXConnection& connection, TDBXReader& reader, const TRowShape& shape,
                  const TRowContext& context, const TRttiProperty* prop, TBaseDataObject& object) {
  const TPropertySkill skill = GetAttribSkill(prop);
  if (!prop->IsWritable() || skill == TPropertySkill::psBinaryBlob) return;
  // Lists have no column (the second pass loads them); bitmaps are never selected.
  if (IsAgregation(prop) || prop->TypeName() == "TBitmap") return;
  const std::string column = ColumnOf(shape, prop);
  if (skill == TPropertySkill::psEmbedded) {
    const auto& inRow = context.hostedInRow;
    if (std::find(inRow.begin(), inRow.end(), prop) != inRow.end()) {
      FillHosted(connection, reader, shape, prop, object);
    } else {
      LoadHosted(connection, shape, prop, object);
    }
    return;
  }
  const int ordinal = OrdinalOf(reader, column, shape);
  try {
    Assign(connection, reader, ordinal, prop, object, context.pending);
  } catch (const std::exception& e) {
    throw Exception(detail::AssignmentError(prop, object, e.what()));
  }
}

}  // namespace

namespace detail {

std::string AssignmentError(const TRttiProperty* property, const TBaseDataObject& object,
                            const std::string& cause) {
  return "Erro ao atribuir valor na propriedade \"" + property->Name() + "\" da classe \"" +
         object.ClassName() + "\"." + "\r\n" + cause;
}

void ReadRowInto(TDBXConnection& connection, TDBXReader& reader, TDataObjectInfoDB& info,
                 TBaseDataObject& object, const std::vector<const TRttiProperty*>& hostedInRow,
                 std::vector<TPendingMember>* pending) {
  const TRowShape shape{info.Properties(), info.KeyProperty(), info.HostClass(), info.FieldPrefix(),
                        info.DataClass() ? info.DataClass()->Name() : object.ClassName()};
  const TRowContext context{hostedInRow, pending};
  for (const TRttiProperty* prop : shape.properties) {
    ReadProperty(connection, reader, shape, context, prop, object);
  }
}

void LoadLists(TDBXConnection& connection, const TDataObjectInfoDB& info, TBaseDataObject& object,
               bool loadOwnClassLists) {
  const std::vector<const TRttiProperty*> lists = info.ListProperties();
  for (const TRttiProperty* list : lists) {
    // Callers walking a tree of one class stop here to load it level by level.
    const bool ownClass = TDataObjectInfo::GetClassOfPropertyList(list) == object.ClassType();
    if (loadOwnClassLists || !ownClass) LoadAggregatedList(connection, object, list);
  }
}

}  // namespace detail

void ReaderToObject(TDBXConnection& connection, TDBXReader& reader, TDataObjectInfoDB& info,
                    TBaseDataObject& object, bool loadOwnClassLists) {
  detail::ReadRowInto(connection, reader, info, object, {}, nullptr);
  detail::LoadLists(connection, info, object, loadOwnClassLists);
}

}  // namespace zo
