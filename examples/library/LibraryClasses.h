#pragma once

// The data classes of a small lending library: authors, books written by an author, members
// with an address kept in the members' table, and loans of several books to a member.

#include <memory>
#include <string>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Dates.h>
#include <zo/core/User.h>

namespace library {

class TAuthor : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TAuthor, zo::TBaseDataObject)
 public:
  std::string Name;
  std::string Country;
};

class TBook : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TBook, zo::TBaseDataObject)
 public:
  std::string Title;
  std::string Isbn;                 // unique
  std::unique_ptr<TAuthor> Author;  // composed: a reference column, loaded with the book
  int32_t Year = 0;
};

// Has no table: its columns live in the members' table as ADDR_*.
class TAddress : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TAddress, zo::TBaseDataObject)
 public:
  std::string Street;
  std::string City;
  std::string PostCode;
};

class TMember : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TMember, zo::TBaseDataObject)
 public:
  std::string Name;
  std::string Email;                  // unique
  std::unique_ptr<TAddress> Address;  // embedded in the member's row
};

class TLoanItem;

// A loan records who lent it and when (TUserObject); its items are an aggregated list,
// written and deleted with it.
class TLoan : public zo::TUserObject {
  ZO_DATA_CLASS(TLoan, zo::TUserObject)
 public:
  std::unique_ptr<TMember> Member;
  zo::TDate LoanDate;
  zo::TDate DueDate;
  bool Returned = false;
  double Fine = 0;  // set by the ComputeFines action
  zo::TObjectList<TLoanItem> Items;
};

class TLoanItem : public zo::TBaseDataObject {
  ZO_DATA_CLASS(TLoanItem, zo::TBaseDataObject)
 public:
  zo::TForeignKey Loan;
  zo::TForeignKey Book;
};

// Defines the library's classes (and the core library's). Safe to call more than once.
void RegisterLibraryClasses();

// The classes that have tables, in creation order (a table after those it refers to).
std::vector<zo::TDataObjectClass> LibraryTableClasses();

// The schema's module name (foreign-key names start with its first letters).
inline constexpr const char* kLibraryModuleName = "LIBRARY";

}  // namespace library
