#pragma once

#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <zo/dao/ZoCallback.h>

namespace zo::testing {

// An in-process client callback: records every command it receives and answers "cancel"
// (JSON true) when told to.
class RecordingCallback : public TZoCallback {
 public:
  nlohmann::json Execute(const nlohmann::json& value) override {
    received.push_back(value);
    return cancelWhen ? cancelWhen(value) : false;
  }

  // The class names of the received commands ("TWaitScreenCommandGo", ...).
  std::vector<std::string> Kinds() const {
    std::vector<std::string> kinds;
    for (const auto& v : received) {
      const std::string type = v.at("type").get<std::string>();
      kinds.push_back(type.substr(type.find('.') + 1));
    }
    return kinds;
  }

  // The positions of the received TWaitScreenCommandGo commands, in order.
  std::vector<int> Positions() const {
    std::vector<int> positions;
    for (const auto& v : received) {
      if (v.at("type") == "ZoCore.TWaitScreenCommandGo") {
        positions.push_back(v.at("fields").at("Position").get<int>());
      }
    }
    return positions;
  }

  std::vector<nlohmann::json> received;
  std::function<bool(const nlohmann::json&)> cancelWhen;
};

}  // namespace zo::testing
