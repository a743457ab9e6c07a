// zo-schema customer add: provisions a new customer of the application server.

#include "apps/zo-schema/Customer.h"
#include "apps/zo-schema/PasswordInput.h"
#include "apps/zo-schema/ToolContext.h"

namespace zo::schematool {
namespace {

int Run(const TCommandLine& args, const TToolContext& context) {
  if (args.Positional().empty() || args.Positional()[0] != "add") {
    throw EUsageError(args.Positional().empty()
                          ? "missing subcommand: customer add ID"
                          : "unknown subcommand: customer " + args.Positional()[0]);
  }
  args.ExpectPositional({"add", "ID"});
  TNewCustomer customer;
  customer.id = args.Positional()[1];
  customer.root = args.Value("root").value_or(".");
  customer.login = args.Required("user");
  customer.userName = args.Value("name").value_or("");
  customer.replace = args.Has("replace");
  // Checked here too so that a bad argument is a usage error; AddCustomer checks again.
  if (const auto problem = InvalidCustomerArgument(customer)) throw EUsageError(*problem);
  customer.password = ReadPassword(args, "for the first user");
  const auto directory = AddCustomer(context.app, customer);
  context.err << "Customer " << customer.id << " created in " << directory.string()
              << " (first user: " << customer.login << ", administrator)\n";
  return kExitOk;
}

}  // namespace

TCommand CustomerCommand() {
  return {"customer",
          "creates a customer: directory, conn.conf, database and first user",
          "Usage: {prog} customer add ID --user LOGIN [--root DIR] [--name NAME]\n"
          "         [--password-file FILE | --password-stdin | --password PASS] [--replace]\n"
          "\n"
          "Creates the application's customer ID in DIR/CustomersDB/ID: its conn.conf\n"
          "(copied from DIR/conn.conf, created with default values when missing, with\n"
          "Database pointing to CustomersDB/ID/ZO.FDB), the database ZO.FDB with the tables\n"
          "of the classes, and the first user, an administrator, with their password. If\n"
          "anything fails, nothing is left half-made.\n"
          "\n"
          "  --root DIR              the application root (default: the current directory)\n"
          "  --user LOGIN            the first user's login\n"
          "  --name NAME             the first user's name (default: the login)\n"
          "  --password-file FILE    reads the password from the file's first line\n"
          "  --password-stdin        reads the password from standard input (first line)\n"
          "  --password PASS         the password itself: visible to other users of\n"
          "                          the machine and in the shell history; avoid it\n"
          "  --replace               recreates a customer that already exists (the current\n"
          "                          database is lost)\n"
          "\n"
          "Without any password option, the password comes from the environment variable\n"
          "ZO_SCHEMA_PASSWORD.\n",
          {{"root", true},
           {"user", true},
           {"name", true},
           {"password-file", true},
           {"password-stdin", false},
           {"password", true},
           {"replace", false}},
          &Run};
}

}  // namespace zo::schematool
