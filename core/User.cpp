#include <zo/core/User.h>

#include <mutex>

#include <zo/core/ClassBuilder.h>
#include <zo/core/WaitScreen.h>

namespace zo {

void RegisterCoreClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    DefineClass<TUser>("ZoCore", Annotation("USUARIOS"))
        .Key("ID")
        .Prop("Login", &TUser::Login,
              Annotation("LOGIN").Size(60).Required().Skill(TPropertySkill::psUnique))
        .Prop("Nome", &TUser::Nome, Annotation("NOME").Size(100));
    DefineClass<TUserObject>("ZoCore")
        .Prop("UserID", &TUserObject::UserID, Annotation("USUARIO_ID").References<TUser>())
        .Prop("DataHoraInclusao", &TUserObject::DataHoraInclusao, Annotation("DATAHORA_INC"))
        .Prop("DataHoraAlteracao", &TUserObject::DataHoraAlteracao, Annotation("DATAHORA_ALT"));
    DefineClass<TWaitScreenCommandTitle>("ZoCore").Prop("Text", &TWaitScreenCommandTitle::Text);
    DefineClass<TWaitScreenCommandJob>("ZoCore").Prop("Text", &TWaitScreenCommandJob::Text);
    DefineClass<TWaitScreenCommandGo>("ZoCore").Prop("Position", &TWaitScreenCommandGo::Position);
  });
}

}  // namespace zo
