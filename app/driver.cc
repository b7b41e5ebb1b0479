// SPDX-License-Identifier: Apache-2.0
#include "app/driver.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "app/device.h"
#include "app/document_job.h"
#include "app/identify.h"
#include "app/media.h"
#include "app/option_attributes.h"
#include "app/queue_status.h"
#include "app/raster_job.h"

namespace app {
namespace {

bool filesAreAllowed = false;

constexpr const char* kSource = "main-roll";
constexpr const char* kSheet = "stationery";
constexpr const char* kRoll = "continuous";

std::string deviceIdOf(const PrinterModel& model) {
  return std::string("MFG:Drav;MDL:") + model.title + ";CMD:ESC/POS;CLS:PRINTER;";
}

template <size_t size>
void copyText(char (&to)[size], const std::string& text) {
  (void)papplCopyString(to, text.c_str(), size);
}

pappl_media_col_t mediaColOf(const PrinterModel& model, const Medium& medium) {
  pappl_media_col_t col = {};
  copyText(col.size_name, medium.name);
  col.size_width = medium.width;
  col.size_length = medium.length;
  col.right_margin = rightMargin(model, medium);
  copyText(col.source, kSource);
  copyText(col.type, kSheet);
  return col;
}

// Names of the least and the largest paper, with which any size between them is allowed.
const std::pair<std::string, std::string>& limitsOf(const PrinterModel& model) {
  static const auto limits = [] {
    std::map<std::string, std::pair<std::string, std::string>> made;
    for (const PrinterModel& one : printerModels()) {
      made[one.name] = {"roll_min_20x20mm",
                        "roll_max_" + std::to_string(widestPaper(one) / 100) + "x3000mm"};
    }
    return made;
  }();
  return limits.at(model.name);
}

void describeMedia(const PrinterModel& model, pappl_pr_driver_data_t* data) {
  const auto add = [data](const std::string& name) {
    data->media[data->num_media++] = name.c_str();
  };
  for (const Medium& one : mediaOf(model)) add(one.name);
  add(limitsOf(model).first);
  add(limitsOf(model).second);
  data->media_default = data->media_ready[0] = mediaColOf(model, standardMedium(model));
  data->num_source = 1;
  data->source[0] = kSource;
  data->num_type = 2;
  data->type[0] = kSheet;
  data->type[1] = kRoll;
  data->borderless = true;
}

void describeOptions(const PrinterModel& model, pappl_pr_driver_data_t* data, ipp_t* attributes) {
  for (const OptionAttribute& one : optionAttributes()) {
    if (!hasAttribute(model, one)) continue;
    const PrinterOption& option = optionOf(one);
    const char* standard = standardChoice(model, option);
    data->vendor[data->num_vendor++] = one.name;
    const std::string byDefault = std::string(one.name) + "-default";
    const std::string supported = std::string(one.name) + "-supported";
    const std::string value = valueOfChoice(one, standard);
    switch (one.syntax) {
      case AttributeSyntax::kBoolean:
        ippAddBoolean(attributes, IPP_TAG_PRINTER, byDefault.c_str(), value == "true" ? 1 : 0);
        ippAddBoolean(attributes, IPP_TAG_PRINTER, supported.c_str(), 1);
        break;
      case AttributeSyntax::kInteger:
        ippAddInteger(attributes, IPP_TAG_PRINTER, IPP_TAG_INTEGER, byDefault.c_str(),
                      std::atoi(value.c_str()));
        ippAddRange(attributes, IPP_TAG_PRINTER, supported.c_str(),
                    std::atoi(option.choices.front()), std::atoi(option.choices.back()));
        break;
      case AttributeSyntax::kKeyword:
        ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, byDefault.c_str(), nullptr,
                     value.c_str());
        ippAddStrings(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, supported.c_str(),
                      static_cast<int>(one.keywords.size()), nullptr, one.keywords.data());
        break;
    }
  }
}

// What AirPrint and IPP Everywhere clients want to hear besides, and PAPPL does not say.
void describeRest(ipp_t* attributes) {
  ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, "pwg-raster-document-sheet-back",
               nullptr, "normal");
  ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, "print-rendering-intent-default",
               nullptr, "auto");
  ippAddString(attributes, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, "print-rendering-intent-supported",
               nullptr, "auto");
  ippAddBoolean(attributes, IPP_TAG_PRINTER, "preferred-attributes-supported", 0);
}

void describeModel(const PrinterModel& model, pappl_pr_driver_data_t* data) {
  copyText(data->make_and_model, std::string("Drav ") + model.title);
  data->format = kDeviceFormat;
  data->printfile_cb = printDocument;
  data->status_cb = updateQueueStatus;
  data->identify_cb = identifyPrinter;
  data->identify_default = data->identify_supported = PAPPL_IDENTIFY_ACTIONS_SOUND;
  setRasterCallbacks(data);
  data->ppm = 5;
  data->kind =
      model.hasFrame ? PAPPL_KIND_DOCUMENT | PAPPL_KIND_ROLL : PAPPL_KIND_RECEIPT | PAPPL_KIND_ROLL;
  data->orient_default = IPP_ORIENT_PORTRAIT;
  data->color_supported = PAPPL_COLOR_MODE_AUTO | PAPPL_COLOR_MODE_MONOCHROME;
  data->color_default = PAPPL_COLOR_MODE_MONOCHROME;
  data->scaling_default = PAPPL_SCALING_AUTO_FIT;
  // Not 1 bit: PAPPL would hand such pages over as if they had 8.
  data->raster_types = PAPPL_PWG_RASTER_TYPE_SGRAY_8 | PAPPL_PWG_RASTER_TYPE_BLACK_8;
  if (mayHaveCutter(model)) data->finishings = PAPPL_FINISHINGS_TRIM;
  data->num_resolution = 1;
  data->x_resolution[0] = data->y_resolution[0] = model.resolution;
  data->x_default = data->y_default = model.resolution;
  data->darkness_supported = kMostDarkness / 2;
  data->darkness_default = darknessOfDensity(chosenOrStandard(model, {}, "PrintDensity"));
}

}  // namespace

std::span<pappl_pr_driver_t> drivers() {
  static auto texts = [] {
    std::vector<std::pair<std::string, std::string>> made;
    for (const PrinterModel& one : printerModels())
      made.emplace_back(std::string("Drav ") + one.title, deviceIdOf(one));
    return made;
  }();
  static auto list = [] {
    std::vector<pappl_pr_driver_t> made;
    for (const PrinterModel& one : printerModels()) {
      const auto& [title, id] = texts[made.size()];
      made.push_back({one.name, title.c_str(), id.c_str(), nullptr});
    }
    return made;
  }();
  return list;
}

void allowFileDevices(bool isAllowed) { filesAreAllowed = isAllowed; }

bool describeDriver(pappl_system_t* system, const char* name, const char* uri, const char* /*id*/,
                    pappl_pr_driver_data_t* data, ipp_t** attributes, void* /*context*/) {
  const PrinterModel* model = findPrinterModel(name == nullptr ? "" : name);
  const auto address = parseDeviceUri(uri == nullptr ? "" : uri);
  if (model == nullptr || !address || (address->kind == DeviceKind::kFile && !filesAreAllowed)) {
    papplLog(system, PAPPL_LOGLEVEL_ERROR, "No queue for the driver '%s' at '%s'.", name, uri);
    return false;
  }
  if (*attributes == nullptr) *attributes = ippNew();
  describeModel(*model, data);
  describeMedia(*model, data);
  describeOptions(*model, data, *attributes);
  describeRest(*attributes);
  // For drav doctor: at the socket of the commands the server tells no port.
  ippAddInteger(*attributes, IPP_TAG_PRINTER, IPP_TAG_INTEGER, "drav-server-port",
                papplSystemGetHostPort(system));
  return true;
}

const char* modelOfDevice(const char* /*info*/, const char* /*uri*/, const char* id,
                          void* /*context*/) {
  const std::string_view text = id == nullptr ? "" : id;
  for (const PrinterModel& one : printerModels())
    if (text.find(std::string("MDL:") + one.title + ";") != text.npos) return one.name;
  return nullptr;
}

}  // namespace app
