#pragma once

#include <ostream>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zo::client {

// Draws the server's wait-screen commands as one terminal line:
//   Excluindo... [##########          ]  50%  Pedido 7
class ProgressBar {
 public:
  explicit ProgressBar(std::ostream& out) : out_(out) {}
  // Takes one command (title, job line or position) and redraws.
  void Show(const nlohmann::json& command);
  // Ends the line if anything was drawn.
  void Finish();

 private:
  void Draw();

  std::ostream& out_;
  std::string title_;
  std::string job_;
  int position_ = 0;
  bool drawn_ = false;
};

}  // namespace zo::client
