#include "LibraryClasses.h"

#include <mutex>

#include <zo/core/ClassBuilder.h>

namespace library {

using zo::Annotation;
using zo::DefineClass;
using zo::TPropertySkill;

namespace {

constexpr const char* kUnit = "LibraryClasses";

void DefineBooks() {
  DefineClass<TAuthor>(kUnit, Annotation("AUTHORS"))
      .Key("ID")
      .Prop("Name", &TAuthor::Name, Annotation("NAME").Size(80).Required())
      .Prop("Country", &TAuthor::Country, Annotation("COUNTRY").Size(40));
  DefineClass<TBook>(kUnit, Annotation("BOOKS"))
      .Key("ID")
      .Prop("Title", &TBook::Title, Annotation("TITLE").Size(120).Required())
      .Prop("Isbn", &TBook::Isbn, Annotation("ISBN").Size(13).Skill(TPropertySkill::psUnique))
      .Prop("Author", &TBook::Author, Annotation("AUTHOR_ID").Indexed())
      .Prop("Year", &TBook::Year, Annotation("PUB_YEAR"));
}

void DefineMembers() {
  DefineClass<TAddress>(kUnit)
      .Key("ID")
      .Prop("Street", &TAddress::Street, Annotation("STREET").Size(80))
      .Prop("City", &TAddress::City, Annotation("CITY").Size(60))
      .Prop("PostCode", &TAddress::PostCode, Annotation("POST_CODE").Size(10));
  DefineClass<TMember>(kUnit, Annotation("MEMBERS"))
      .Key("ID")
      .Prop("Name", &TMember::Name, Annotation("NAME").Size(80).Required())
      .Prop("Email", &TMember::Email, Annotation("EMAIL").Size(100).Skill(TPropertySkill::psUnique))
      .Prop("Address", &TMember::Address,
            Annotation("ADDR").Skill(TPropertySkill::psEmbedded).Host<TMember>());
}

void DefineLoans() {
  DefineClass<TLoan>(kUnit, Annotation("LOANS"))
      .Key("ID")
      .Prop("Member", &TLoan::Member, Annotation("MEMBER_ID").Required())
      .Prop("LoanDate", &TLoan::LoanDate, Annotation("LOAN_DATE"))
      .Prop("DueDate", &TLoan::DueDate, Annotation("DUE_DATE"))
      .Prop("Returned", &TLoan::Returned, Annotation("RETURNED"))
      .Prop("Fine", &TLoan::Fine, Annotation("FINE"))
      .Prop("Items", &TLoan::Items, Annotation("LOAN_ID").Host<TLoan>());
  DefineClass<TLoanItem>(kUnit, Annotation("LOAN_ITEMS"))
      .Key("ID")
      .Prop("Loan", &TLoanItem::Loan, Annotation("LOAN_ID").References<TLoan>())
      .Prop("Book", &TLoanItem::Book, Annotation("BOOK_ID").References<TBook>().Required());
}

}  // namespace

void RegisterLibraryClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    zo::RegisterCoreClasses();
    DefineBooks();
    DefineMembers();
    DefineLoans();
  });
}

std::vector<zo::TDataObjectClass> LibraryTableClasses() {
  // USUARIOS (zo::TUser) holds the logins the server checks.
  return {&zo::TUser::StaticType(), &TAuthor::StaticType(), &TBook::StaticType(),
          &TMember::StaticType(),   &TLoan::StaticType(),   &TLoanItem::StaticType()};
}

}  // namespace library
