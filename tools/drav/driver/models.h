// SPDX-License-Identifier: Apache-2.0
// The PPD files of the driver's own models, inside the program.
#ifndef TOOLS_DRAV_DRIVER_MODELS_H_
#define TOOLS_DRAV_DRIVER_MODELS_H_

#include <span>
#include <string>

struct EmbeddedModel {
  const char* name = nullptr;  // of the PPD file, without ".ppd", such as "dravsa43"
  std::span<const unsigned char> ppd;
};

// All models, in the order of the driver source. Never empty.
std::span<const EmbeddedModel> embeddedModels();

// The model that is used when none is named: the A4 stencil printer.
const EmbeddedModel& defaultModel();

// The model of this name, whatever its case, with or without ".ppd"; null for none.
const EmbeddedModel* findModel(const std::string& name);

// The model's name for people, as its PPD says it.
std::string modelTitle(const EmbeddedModel& model);

// "dravsa43 (Drav Stencil A4 300 dpi), ..."
std::string modelList();

#endif  // TOOLS_DRAV_DRIVER_MODELS_H_
