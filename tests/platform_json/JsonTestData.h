#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include "examples/demo/DemoClasses.h"

namespace zo::testing {

// Fully populated demo objects: every property set to something other than its default.
std::unique_ptr<demo::TCidade> MakeCidade();
std::unique_ptr<demo::TClienteVIP> MakeClienteVIP();
std::unique_ptr<demo::TProduto> MakeProduto(size_t imageBytes);
std::unique_ptr<demo::TCategoria> MakeCategoriaTree();
std::unique_ptr<demo::TPedido> MakePedido();

std::vector<uint8_t> PatternBytes(size_t count);

}  // namespace zo::testing
