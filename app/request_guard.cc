// SPDX-License-Identifier: Apache-2.0
#include "app/request_guard.h"

#include <cups/pwg.h>
#include <strings.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <vector>

namespace app {
namespace {

// What PAPPL reads as text.
constexpr std::string_view kTexts[] = {
    "attributes-charset",
    "attributes-natural-language",
    "compression",
    "contact-name",
    "contact-uri",
    "contact-vcard",
    "document-format",
    "document-name",
    "document-natural-language",
    "finishing-template",
    "identify-actions",
    "identify-actions-default",
    "job-hold-until",
    "job-name",
    "job-sheets",
    "label-mode-configured",
    "media",
    "media-default",
    "media-ready",
    "media-size-name",
    "media-source",
    "media-tracking",
    "media-type",
    "message",
    "multiple-document-handling",
    "notify-charset",
    "notify-events",
    "notify-natural-language",
    "notify-pull-method",
    "output-bin",
    "print-color-mode",
    "print-color-mode-default",
    "print-content-optimize",
    "print-content-optimize-default",
    "print-scaling",
    "print-scaling-default",
    "printer-geo-location",
    "printer-location",
    "printer-name",
    "printer-organization",
    "printer-organizational-unit",
    "requested-attributes",
    "requesting-user-name",
    "sides",
};
constexpr std::string_view kCollections[] = {
    "finishings-col",  "media-col",  "media-col-default",
    "media-col-ready", "media-size", "printer-contact-col",
};

// As libcups, and so PAPPL, finds attributes: case does not count.
bool isNamed(std::string_view one, std::string_view other) {
  return one.size() == other.size() && ::strncasecmp(one.data(), other.data(), one.size()) == 0;
}

template <typename Names>
bool isOneOf(const Names& names, std::string_view name) {
  return std::any_of(std::begin(names), std::end(names),
                     [name](std::string_view one) { return isNamed(one, name); });
}

// Of a paper whose name PAPPL cannot find.
bool isNameless(ipp_attribute_t* attribute) {
  for (int i = 0; i < ippGetCount(attribute); ++i)
    if (pwgMediaForPWG(ippGetString(attribute, i, nullptr)) == nullptr) return true;
  return false;
}

// A size, where there is one, that is one.
bool isSize(ipp_t* members, const char* widthName, const char* lengthName) {
  ipp_attribute_t* width = ippFindAttribute(members, widthName, IPP_TAG_INTEGER);
  ipp_attribute_t* length = ippFindAttribute(members, lengthName, IPP_TAG_INTEGER);
  return width == nullptr || length == nullptr ||
         pwgMediaForSize(ippGetInteger(width, 0), ippGetInteger(length, 0)) != nullptr;
}

bool isSound(ipp_attribute_t* attribute);

bool areSound(ipp_t* members) {
  for (ipp_attribute_t* one = ippFirstAttribute(members); one != nullptr;
       one = ippNextAttribute(members))
    if (!isSound(one)) return false;
  // PAPPL may take the sides from two sizes.
  return isSize(members, "x-dimension", "y-dimension") &&
         isSize(members, "media-size/x-dimension", "media-size/y-dimension");
}

bool isSound(ipp_attribute_t* attribute) {
  const char* name = ippGetName(attribute);
  if (name == nullptr) return true;  // what parts two objects
  if (isOneOf(kTexts, name)) {
    if (ippGetString(attribute, 0, nullptr) == nullptr) return false;
    return !isNamed(name, "media-size-name") || !isNameless(attribute);
  }
  if (isOneOf(kCollections, name) && ippGetValueTag(attribute) != IPP_TAG_BEGIN_COLLECTION)
    return false;
  if (ippGetValueTag(attribute) != IPP_TAG_BEGIN_COLLECTION) return true;
  for (int i = 0; i < ippGetCount(attribute); ++i)
    if (!areSound(ippGetCollection(attribute, i))) return false;
  return true;
}

bool isOfJob(ipp_t* request) {
  const ipp_op_t operation = ippGetOperation(request);
  return operation == IPP_OP_PRINT_JOB || operation == IPP_OP_VALIDATE_JOB ||
         operation == IPP_OP_CREATE_JOB || operation == IPP_OP_SEND_DOCUMENT ||
         operation == IPP_OP_PRINT_URI || operation == IPP_OP_SEND_URI;
}

}  // namespace

void makeSafe(ipp_t* request) {
  std::vector<ipp_attribute_t*> bad;
  for (ipp_attribute_t* one = ippFirstAttribute(request); one != nullptr;
       one = ippNextAttribute(request))
    if (!isSound(one)) bad.push_back(one);
  const bool isJobs = isOfJob(request);
  for (ipp_attribute_t* one : bad) {
    if (isJobs || ippGetGroupTag(one) == IPP_TAG_OPERATION)
      ippDeleteAttribute(request, one);
    else
      (void)ippSetGroupTag(request, &one, IPP_TAG_UNSUPPORTED_GROUP);
  }
}

}  // namespace app
