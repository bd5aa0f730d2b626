// 5 Conversion: how a picture of one shape fills the other.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"

namespace qel::config {
namespace {

constexpr Choice kUpconversions[] = {
    {0, "4:3 Pillarbox", "4:3\n  Pillar"},
    {1, "14:9 Pillarbox", "14:9\n  Pillar"},
    {2, "16:9 Zoom", "16:9\n  Zoom"},
    {3, "Full Screen", "Full\n  Screen"},
};

constexpr Choice kDownconversions[] = {
    {0, "Letterbox", "Lettrbox"},
    {1, "14:9 Letterbox", "14:9\n  Letter"},
    {2, "Center Crop", "Crop"},
    {3, "Anamorphic", "Anamorph"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(Upconversion), "Upconversion", "Upconv", kUpconversions, 0)
        .EnabledBy(eParamID_VideoInConvert, kConvertSDTo720)
        .EnabledBy(eParamID_VideoInConvert, kConvertSDTo1080)
        .EnabledBy(eParamID_VideoOutConvert, kConvertSDTo720)
        .EnabledBy(eParamID_VideoOutConvert, kConvertSDTo1080)
        .Help("Selects how a 4:3 picture fills a 16:9 raster. Use Full Screen for anamorphic "
              "sources only: it stretches everything else. "
              "See: 1.4 Input Conversion, 1.5 Output Conversion."),
    Enum(PARAM(Downconversion), "Downconversion", "Downconv", kDownconversions, 0)
        .EnabledBy(eParamID_VideoInConvert, kConvertHDToSD)
        .EnabledBy(eParamID_VideoOutConvert, kConvertHDToSD)
        .Help("Selects how a 16:9 picture fits a 4:3 raster. Center Crop loses both sides; "
              "Letterbox keeps the whole picture between black bars. "
              "See: 1.4 Input Conversion, 1.5 Output Conversion."),
};

}  // namespace

void CreateGroup_5(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
