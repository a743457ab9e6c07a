#include <zo/core/TextResources.h>

#include <map>
#include <mutex>
#include <utility>

#include <zo/core/Exceptions.h>
#include <zo/core/Text.h>

namespace zo {
namespace {

struct Resources {
  std::mutex mutex;
  std::map<std::pair<THandle, std::string>, std::string> texts;
};

Resources& TheResources() {
  static Resources resources;
  return resources;
}

}  // namespace

void RegisterTextResource(THandle module, std::string_view name, std::string text) {
  auto& r = TheResources();
  std::lock_guard lock(r.mutex);
  r.texts[{module, text::UpperCase(name)}] = std::move(text);
}

std::optional<std::string> FindTextResource(THandle module, std::string_view name) {
  auto& r = TheResources();
  std::lock_guard lock(r.mutex);
  const auto it = r.texts.find({module, text::UpperCase(name)});
  if (it == r.texts.end()) return std::nullopt;
  return it->second;
}

std::string LoadTextResource(THandle module, std::string_view name) {
  auto text = FindTextResource(module, name);
  if (!text) throw Exception("Resource " + std::string(name) + " not found");
  return *text;
}

}  // namespace zo
