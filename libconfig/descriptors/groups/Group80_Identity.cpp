// 80 Identity: which unit this is and what runs on it.
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/groups/Groups.h"
#include "product/SerialNumber_Quarn.h"

// The build gives the release. Without one it is a developer's build.
#ifndef LIBCONFIG_VERSION
#define LIBCONFIG_VERSION "development"
#endif

namespace qel::config {
namespace {

constexpr ParamRow kFormattedSerialNumber =
    Text(PARAM(FormattedSerialNumber), "Serial Number", "Serial", 0, 32, "")
        .Report()
        .Help(
            "The unit's serial number as printed on its label. Have it at hand when you ask for "
            "service.");

constexpr ParamRow kSWVersion =
    Text(PARAM(SWVersion), "Software Version", "Software", 1, 32, "")
        .Report()
        .Help(
            "The release of the software that the unit runs. All units of a gang should run the "
            "same one.");

constexpr ParamRow kSerialNumber =
    Text(PARAM(SerialNumber), "Unformatted Serial Number", "Serial U", 0, 32, "")
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kPanelHidden)
        .Help(
            "The serial number as the board stores it, for programs that compare units. "
            "See: 80.1 Serial Number.");

constexpr ParamRow kFlashInfo =
    Text(PARAM(Flash_Info), "Flash Info", "Flash", 0, 65536, "")
        .Keep(Keeping::kState)
        .Tagged(kReadOnly | kPanelHidden)
        .Help(
            "What the last update left in each part of the unit's flash memory. Service asks for "
            "it when an update failed half-way. See: 80.2 Software Version.");

}  // namespace

void CreateGroup_80(CatalogueBuilder& builder) {
  const SerialNumber_Quarn serial;
  builder.Add(kFormattedSerialNumber, serial.GetFormattedSerialNumber());
  builder.Add(kSWVersion, std::string(LIBCONFIG_VERSION));
  builder.Add(kSerialNumber, serial.GetSerialNumber());
  builder.Add(kFlashInfo, GetFlashInfo());
}

}  // namespace qel::config
