#pragma once

#include <zo/Export.h>

#include <string>

namespace zo {

class TRttiType;
using TDataObjectClass = const TRttiType*;

// What a property (or, on a class annotation, the class) is to the mapping layer.
enum class TPropertySkill : int {
  psNormal = 0,      // an ordinary column
  psGeneric = 1,     // an ordinary column (kept for numbering compatibility)
  psEmbedded = 2,    // embedded object stored in the owner's table / class merged into its host
  psUnique = 3,      // unique column
  psTextBlob = 4,    // text large object
  psBinaryBlob = 5,  // binary large object (stream or picture)
};

// The annotation on a data class (table name) or on a property (column name, character size,
// skill, required and indexed flags, and the referenced / host / master class).
class ZO_EXPORT Annotation {
 public:
  explicit Annotation(std::string name, TPropertySkill skill = TPropertySkill::psNormal,
                      bool required = false)
      : name_(std::move(name)), skill_(skill), required_(required) {}

  // Fluent set-up, so that a declaration reads in one line:
  //   Annotation("NOME").Size(60).Required()
  Annotation& Size(int size) {
    size_ = size;
    return *this;
  }
  Annotation& Skill(TPropertySkill skill) {
    skill_ = skill;
    return *this;
  }
  Annotation& Required(bool required = true) {
    required_ = required;
    return *this;
  }
  Annotation& Indexed(bool indexed = true) {
    indexed_ = indexed;
    return *this;
  }
  Annotation& Host(TDataObjectClass host) {
    host_ = host;
    return *this;
  }
  template <class T>
  Annotation& Host() {
    return Host(&T::StaticType());
  }
  // A reference names the class it points at in the same slot as a host.
  template <class T>
  Annotation& References() {
    return Host(&T::StaticType());
  }

  const std::string& GetName() const { return name_; }
  int GetSize() const { return size_; }
  TPropertySkill GetSkill() const { return skill_; }
  bool IsRequired() const { return required_; }
  bool IsIndexed() const { return indexed_; }
  TDataObjectClass GetHostClass() const { return host_; }

 private:
  std::string name_;
  int size_ = 0;
  TPropertySkill skill_ = TPropertySkill::psNormal;
  bool required_ = false;
  bool indexed_ = false;
  TDataObjectClass host_ = nullptr;
};

}  // namespace zo
