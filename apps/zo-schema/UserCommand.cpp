// zo-schema user add/passwd/role/remove: the users of a customer, from the command line.

#include "apps/zo-schema/PasswordInput.h"
#include "apps/zo-schema/ToolContext.h"
#include "apps/zo-schema/Users.h"

namespace zo::schematool {
namespace {

std::string Database(const TCommandLine& args) {
  if (args.Has("db") == args.Has("customer")) {
    throw EUsageError("give the database one way only: --customer ID (with --root) or --db FILE");
  }
  if (const auto db = args.Value("db")) return *db;
  return CustomerDatabase(args.Value("root").value_or("."), *args.Value("customer")).string();
}

TUserRole RoleArgument(const std::string& name) {
  const auto role = ParseRole(name);
  if (!role || name.empty()) {
    throw EUsageError("unknown role: \"" + name + "\" (use admin or usuario)");
  }
  return *role;
}

int Run(const TCommandLine& args, const TToolContext& context) {
  const auto& positional = args.Positional();
  if (positional.empty()) throw EUsageError("missing subcommand: user add|passwd|role|remove");
  const std::string& sub = positional[0];
  if (sub == "add") {
    args.ExpectPositional({"add", "LOGIN"});
    const TUserRole role = args.Has("admin") ? TUserRole::urAdmin : TUserRole::urOrdinary;
    const std::string password = ReadPassword(args, "for the user");
    TUserAdmin users(Database(args));
    const int32_t id = users.Add(positional[1], args.Value("name").value_or(""), password, role);
    context.err << "User " << positional[1] << " created (ID " << id
                << (role == TUserRole::urAdmin ? ", administrator" : "") << ")\n";
  } else if (sub == "passwd") {
    args.ExpectPositional({"passwd", "LOGIN"});
    const std::string password = ReadPassword(args, "for " + positional[1]);
    TUserAdmin(Database(args)).SetPassword(positional[1], password);
    context.err << "Password of " << positional[1] << " changed\n";
  } else if (sub == "role") {
    args.ExpectPositional({"role", "LOGIN", "ROLE"});
    const TUserRole role = RoleArgument(positional[2]);
    TUserAdmin(Database(args)).SetRole(positional[1], role);
    context.err << "Role of " << positional[1] << ": "
                << (role == TUserRole::urAdmin ? "administrator" : "ordinary user") << "\n";
  } else if (sub == "remove") {
    args.ExpectPositional({"remove", "LOGIN"});
    TUserAdmin(Database(args)).Remove(positional[1]);
    context.err << "User " << positional[1] << " removed\n";
  } else {
    throw EUsageError("unknown subcommand: user " + sub);
  }
  return kExitOk;
}

}  // namespace

TCommand UserCommand() {
  return {"user",
          "creates and removes a customer's users, changes their password and role",
          "Usage: {prog} user add LOGIN [--name NAME] [--admin] [password options] DB\n"
          "       {prog} user passwd LOGIN [password options] DB\n"
          "       {prog} user role LOGIN admin|usuario DB\n"
          "       {prog} user remove LOGIN DB\n"
          "\n"
          "DB is --customer ID [--root DIR] (the customer's CustomersDB/ID/ZO.FDB) or\n"
          "--db FILE. A user without a role is an ordinary user (role usuario); an\n"
          "administrator (role admin) manages the other users. The last administrator can\n"
          "be neither removed nor demoted.\n"
          "\n"
          "  --customer ID           the customer\n"
          "  --root DIR              the application root (default: the current directory)\n"
          "  --db FILE               the database, instead of --customer\n"
          "  --name NAME             the user's name (default: the login)\n"
          "  --admin                 the new user is an administrator\n"
          "  --password-file FILE    reads the password from the file's first line\n"
          "  --password-stdin        reads the password from standard input (first line)\n"
          "  --password PASS         the password itself (visible to others; avoid it)\n"
          "\n"
          "Without any password option, the password comes from the environment variable\n"
          "ZO_SCHEMA_PASSWORD.\n",
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
