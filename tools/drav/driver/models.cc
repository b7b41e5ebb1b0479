// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/driver/models.h"

#include <strings.h>

#include <algorithm>
#include <string_view>

namespace {

#include "tools/drav/driver/models.inc"

constexpr std::string_view kDefaultModel = "dravsa43";
constexpr std::string_view kEnding = ".ppd";

bool sameText(std::string_view one, std::string_view other) {
  return one.size() == other.size() && ::strncasecmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace

std::span<const EmbeddedModel> embeddedModels() { return kModels; }

const EmbeddedModel& defaultModel() {
  const EmbeddedModel* found =
      std::find_if(std::begin(kModels), std::end(kModels),
                   [](const auto& model) { return model.name == kDefaultModel; });
  return found != std::end(kModels) ? *found : kModels[0];
}

const EmbeddedModel* findModel(const std::string& name) {
  std::string_view wanted = name;
  if (wanted.size() > kEnding.size() && sameText(wanted.substr(wanted.size() - 4), kEnding))
    wanted.remove_suffix(kEnding.size());
  for (const EmbeddedModel& model : kModels)
    if (sameText(model.name, wanted)) return &model;
  return nullptr;
}

std::string modelTitle(const EmbeddedModel& model) {
  const std::string_view text(reinterpret_cast<const char*>(model.ppd.data()), model.ppd.size());
  constexpr std::string_view kKey = "\n*ModelName: \"";
  const size_t at = text.find(kKey);
  if (at == std::string_view::npos) return model.name;
  const std::string_view value = text.substr(at + kKey.size());
  return std::string(value.substr(0, value.find('"')));
}

std::string modelList() {
  std::string text;
  for (const EmbeddedModel& model : kModels)
    text += (text.empty() ? "" : ", ") + std::string(model.name) + " (" + modelTitle(model) + ")";
  return text;
}
