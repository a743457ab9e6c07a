// zo-schema customer add: provisions a new customer of the application server.

#include "apps/zo-schema/Customer.h"
#include "apps/zo-schema/PasswordInput.h"
#include "apps/zo-schema/ToolContext.h"

namespace zo::schematool {
namespace {

int Run(const TCommandLine& args, const TToolContext& context) {
  if (args.Positional().empty() || args.Positional()[0] != "add") {
    throw EUsageError(args.Positional().empty()
                          ? "falta o subcomando: customer add ID"
                          : "subcomando desconhecido: customer " + args.Positional()[0]);
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
  customer.password = ReadPassword(args, "do primeiro usuário");
  const auto directory = AddCustomer(context.app, customer);
  context.err << "Cliente " << customer.id << " criado em " << directory.string()
              << " (primeiro usuário: " << customer.login << ", administrador)\n";
  return kExitOk;
}

}  // namespace

TCommand CustomerCommand() {
  return {"customer",
          "cria um cliente: diretório, conn.conf, banco de dados e primeiro usuário",
          "Uso: {prog} customer add ID --user LOGIN [--root DIR] [--name NOME]\n"
          "         [--password-file ARQUIVO | --password-stdin | --password SENHA] [--replace]\n"
          "\n"
          "Cria o cliente ID da aplicação em DIR/CustomersDB/ID: o conn.conf do cliente\n"
          "(copiado de DIR/conn.conf, criado com valores padrão quando falta, com Database\n"
          "apontando para CustomersDB/ID/ZO.FDB), o banco de dados ZO.FDB com as tabelas das\n"
          "classes e o primeiro usuário, administrador, com a sua senha. Se algo falhar, nada\n"
          "fica pela metade.\n"
          "\n"
          "  --root DIR              diretório raiz da aplicação (padrão: o diretório atual)\n"
          "  --user LOGIN            login do primeiro usuário\n"
          "  --name NOME             nome do primeiro usuário (padrão: o login)\n"
          "  --password-file ARQ     lê a senha da primeira linha do arquivo\n"
          "  --password-stdin        lê a senha da primeira linha da entrada padrão\n"
          "  --password SENHA        senha na linha de comando: fica visível para outros\n"
          "                          usuários da máquina e no histórico do shell; evite\n"
          "  --replace               recria um cliente que já exista (o banco atual é perdido)\n"
          "\n"
          "Sem nenhuma opção de senha, a senha vem da variável de ambiente ZO_SCHEMA_PASSWORD.\n",
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
