// zo-schema user add/passwd/role/remove: the users of a customer, from the command line.

#include "apps/zo-schema/PasswordInput.h"
#include "apps/zo-schema/ToolContext.h"
#include "apps/zo-schema/Users.h"

namespace zo::schematool {
namespace {

std::string Database(const TCommandLine& args) {
  if (args.Has("db") == args.Has("customer")) {
    throw EUsageError("informe o banco de um só modo: --customer ID (com --root) ou --db ARQUIVO");
  }
  if (const auto db = args.Value("db")) return *db;
  return CustomerDatabase(args.Value("root").value_or("."), *args.Value("customer")).string();
}

TUserRole RoleArgument(const std::string& name) {
  const auto role = ParseRole(name);
  if (!role || name.empty()) {
    throw EUsageError("papel desconhecido: \"" + name + "\" (use admin ou usuario)");
  }
  return *role;
}

int Run(const TCommandLine& args, const TToolContext& context) {
  const auto& positional = args.Positional();
  if (positional.empty()) throw EUsageError("falta o subcomando: user add|passwd|role|remove");
  const std::string& sub = positional[0];
  if (sub == "add") {
    args.ExpectPositional({"add", "LOGIN"});
    const TUserRole role = args.Has("admin") ? TUserRole::urAdmin : TUserRole::urOrdinary;
    const std::string password = ReadPassword(args, "do usuário");
    TUserAdmin users(Database(args));
    const int32_t id = users.Add(positional[1], args.Value("name").value_or(""), password, role);
    context.err << "Usuário " << positional[1] << " criado (ID " << id
                << (role == TUserRole::urAdmin ? ", administrador" : "") << ")\n";
  } else if (sub == "passwd") {
    args.ExpectPositional({"passwd", "LOGIN"});
    const std::string password = ReadPassword(args, "nova");
    TUserAdmin(Database(args)).SetPassword(positional[1], password);
    context.err << "Senha de " << positional[1] << " trocada\n";
  } else if (sub == "role") {
    args.ExpectPositional({"role", "LOGIN", "PAPEL"});
    const TUserRole role = RoleArgument(positional[2]);
    TUserAdmin(Database(args)).SetRole(positional[1], role);
    context.err << "Papel de " << positional[1] << ": "
                << (role == TUserRole::urAdmin ? "administrador" : "usuário") << "\n";
  } else if (sub == "remove") {
    args.ExpectPositional({"remove", "LOGIN"});
    TUserAdmin(Database(args)).Remove(positional[1]);
    context.err << "Usuário " << positional[1] << " removido\n";
  } else {
    throw EUsageError("subcomando desconhecido: user " + sub);
  }
  return kExitOk;
}

}  // namespace

TCommand UserCommand() {
  return {"user",
          "cria, remove e muda senha e papel dos usuários de um cliente",
          "Uso: {prog} user add LOGIN [--name NOME] [--admin] [opções de senha] BANCO\n"
          "     {prog} user passwd LOGIN [opções de senha] BANCO\n"
          "     {prog} user role LOGIN admin|usuario BANCO\n"
          "     {prog} user remove LOGIN BANCO\n"
          "\n"
          "BANCO é --customer ID [--root DIR] (o banco CustomersDB/ID/ZO.FDB do cliente) ou\n"
          "--db ARQUIVO. Um usuário sem papel é um usuário comum; um administrador gerencia os\n"
          "outros usuários. O último administrador não pode ser removido nem rebaixado.\n"
          "\n"
          "  --customer ID           o cliente\n"
          "  --root DIR              diretório raiz da aplicação (padrão: o diretório atual)\n"
          "  --db ARQUIVO            o banco de dados, em vez de --customer\n"
          "  --name NOME             nome do usuário (padrão: o login)\n"
          "  --admin                 o novo usuário é administrador\n"
          "  --password-file ARQ     lê a senha da primeira linha do arquivo\n"
          "  --password-stdin        lê a senha da primeira linha da entrada padrão\n"
          "  --password SENHA        senha na linha de comando (visível para outros; evite)\n"
          "\n"
          "Sem nenhuma opção de senha, a senha vem da variável de ambiente ZO_SCHEMA_PASSWORD.\n",
          {{"customer", true},
           {"root", true},
           {"db", true},
           {"name", true},
           {"admin", false},
           {"password-file", true},
           {"password-stdin", false},
           {"password", true}},
          &Run};
}

}  // namespace zo::schematool
