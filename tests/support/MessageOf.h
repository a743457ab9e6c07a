#pragma once

#include <exception>
#include <string>

namespace zo::testing {

// The message of what `call` raises ("" when it raises nothing).
template <class Call>
std::string MessageOf(Call&& call) {
  try {
    call();
  } catch (const std::exception& e) {
    return e.what();
  }
  return {};
}

}  // namespace zo::testing
