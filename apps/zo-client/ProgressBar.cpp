#include "apps/zo-client/ProgressBar.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace zo::client {

void ProgressBar::Show(const nlohmann::json& command) {
  const std::string type = command.value("type", "");
  const nlohmann::json fields = command.value("fields", nlohmann::json::object());
  if (type.ends_with("TWaitScreenCommandTitle")) {
    title_ = fields.value("Text", "");
  } else if (type.ends_with("TWaitScreenCommandJob")) {
    job_ = fields.value("Text", "");
  } else if (type.ends_with("TWaitScreenCommandGo")) {
    position_ = std::clamp(fields.value("Position", 0), 0, 100);
  }
  Draw();
}

void ProgressBar::Draw() {
  constexpr int kWidth = 20;
  const int filled = position_ * kWidth / 100;
  out_ << "\r\x1b[K" << title_ << " [" << std::string(filled, '#')
       << std::string(kWidth - filled, ' ') << "] " << position_ << "%  " << job_ << std::flush;
  drawn_ = true;
}

void ProgressBar::Finish() {
  if (drawn_) out_ << "\n";
  drawn_ = false;
}

}  // namespace zo::client
