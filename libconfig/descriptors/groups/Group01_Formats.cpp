// 1 Formats: how the input becomes frames on the media, and what leaves at each output.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/Selectors.h"

namespace qel::config {
namespace {

constexpr Choice kRecordTypes[] = {
    {0, "Normal"},
    {1, "PsF as Progressive", "PsF\n  to Prog"},
    {2, "Remove 3:2 Pulldown", "Remove\n  3:2"},
};

constexpr Choice k1080PlaybackTypes[] = {
    {0, "As Recorded", "As Rec"},
    {1, "Interlaced", "Interlcd"},
    {2, "PsF"},
    {3, "Progressive", "Progres"},
};

constexpr Choice kConversions[] = {
    {kConvertOff, "Off"},
    {kConvertSDTo720, "SD to 720p", "SD\n  to 720p"},
    {kConvertSDTo1080, "SD to 1080i", "SD\n  to 1080i"},
    {kConvert720To1080, "720p to 1080i", "720p\n  to 1080i"},
    {kConvert1080To720, "1080i to 720p", "1080i\n  to 720p"},
    {kConvertHDToSD, "HD to SD"},
};

// The primary signal has the format that is recorded or played; the secondary one went through the
// output conversion.
constexpr Choice kSDISignals[] = {
    {0, "Primary"},
    {1, "Secondary", "Secndary"},
};

constexpr Choice kComponentSignals[] = {
    {kPrimaryYPbPr, "Primary YPbPr", "Primary\n  YPbPr"},
    {kPrimaryRGB, "Primary RGB", "Primary\n  RGB"},
    {kSecondaryYPbPr, "Secondary YPbPr", "Secndary\n  YPbPr"},
    {kSecondaryRGB, "Secondary RGB", "Secndary\n  RGB"},
    {kComposite, "Composite and Y/C", "Comp Y/C"},
};

constexpr Choice kHDMISignals[] = {
    {0, "Primary YCbCr", "Primary\n  YCbCr"},
    {1, "Primary RGB", "Primary\n  RGB"},
    {2, "Secondary YCbCr", "Secndary\n  YCbCr"},
    {3, "Secondary RGB", "Secndary\n  RGB"},
};

constexpr Choice kBurnPlaces[] = {
    {0, "Off"},
    {1, "Top"},
    {2, "Bottom"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(RecordType), "Record Type", "Rec Type", kRecordTypes, 0)
        .Dependents(eParamID_RecordFormat)
        .Help("Selects how the fields of the input become recorded frames. Use PsF as Progressive "
              "for segmented frames from a progressive camera, and Remove 3:2 Pulldown for film "
              "material that arrives at 29.97. See: 121.5 Record Format."),
    Enum(PARAM(1080PlaybackType), "1080 Playback Type", "1080Play", k1080PlaybackTypes, 0)
        .Help("Selects how 1080-line clips leave the unit. Change it when the equipment behind the "
              "outputs does not take the scanning in which a clip was recorded."),
    Enum(PARAM(VideoInConvert), "Input Conversion", "In Conv", kConversions, kConvertOff)
        .Dependents(eParamID_RecordFormat)
        .Help("Converts the input before it is recorded, so that clips from mixed sources share "
              "one format. An input that does not fit the conversion is recorded as it is. "
              "See: 5.1 Upconversion, 5.2 Downconversion."),
    Enum(PARAM(VideoOutConvert), "Output Conversion", "Out Conv", kConversions, kConvertOff)
        .Help("Makes the secondary signal from the primary one. Each output selects which of the "
              "two it carries. See: 1.6 SDI 1 Output."),
    Enum(PARAM(SDIOutput), "SDI 1 Output", "SDI1 Out", kSDISignals, 0)
        .Help("Selects whether the first SDI output carries the format that is recorded or played, "
              "or the converted one. See: 1.5 Output Conversion."),
    Enum(PARAM(SDI2Output), "SDI 2 Output", "SDI2 Out", kSDISignals, 0)
        .Help("Selects whether the second SDI output carries the format that is recorded or "
              "played, or the converted one. See: 1.5 Output Conversion."),
    Enum(PARAM(ComponentOutput), "Component Output", "Comp Out", kComponentSignals, kPrimaryYPbPr)
        .Help("Selects the signal and the colour space of the analog video output. Composite and "
              "Y/C need a standard-definition signal. See: 3.2 Component Output Level."),
    Enum(PARAM(HDMIOutput), "HDMI Output", "HDMI Out", kHDMISignals, 0)
        .Feature(eFeature_Panel)
        .Help("Selects the signal and the colour space of the HDMI output. Choose RGB for a "
              "computer monitor that shows wrong colours."),
    Enum(PARAM(TimecodeBurn), "Timecode Burn-In", "TC Burn", kBurnPlaces, 0)
        .Feature(eFeature_Panel)
        .Help("Shows the timecode in the picture of the secondary signal, at the top or at the "
              "bottom. It is never recorded."),
};

}  // namespace

void CreateGroup_1(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
