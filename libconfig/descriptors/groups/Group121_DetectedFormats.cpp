// 121 Detected formats: what the unit sees at its connectors and on its media.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"

namespace qel::config {
namespace {

constexpr VideoFormatList kInputFormats = VideoFormatsOr("No Signal", "NoSignal");
constexpr VideoFormatList kMediaFormats = VideoFormatsOr("No Clip", "No Clip");
constexpr VideoFormatList kReferenceFormats = VideoFormatsOr("Free Run", "Free Run");

constexpr Choice kDecodeTypes[] = {
    {0, "None"},
    {1, "ProRes 422", "ProRes\n  422"},
    {2, "DNxHD"},
    {3, "Uncompressed", "Uncomp"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(DetectInputFormat), "Input Format", "InFormat", kInputFormats.rows, 0)
        .Report()
        .Help("The format of the selected video input. No Signal, or a format that jumps, points "
              "to the cable or the wrong input. See: 2.1 Video Input."),
    Enum(PARAM(DetectReferenceFormat), "Reference Format", "RefFormt", kReferenceFormats.rows, 0)
        .Report()
        .Help("The format that the outputs are timed to now; Free Run while there is nothing to "
              "lock to. See: 6.1 Genlock."),
    Enum(PARAM(DetectMediaFormat), "Media Format", "MedFormt", kMediaFormats.rows, 0)
        .Report()
        .Help("The format of the current clip. Clips of another format than the one before them "
              "make the outputs jump. See: 123.17 Current Clip."),
    Enum(PARAM(RecordFormat), "Record Format", "RecFormt", kInputFormats.rows, 0)
        .Report()
        .Help("The format in which the present input would be recorded, after pulldown removal and "
              "conversion. See: 1.2 Record Type, 1.4 Input Conversion."),
    Enum(PARAM(DecodeType), "Decode Type", "Dec Type", kDecodeTypes, 0)
        .Report()
        .Help("The codec that is loaded to play the current clip. Playback pauses briefly when the "
              "next clip needs another one. See: 14.2 Encode Type."),
    Enum(PARAM(DetectedReferenceInputFormat), "Reference Input Format", "RefInFmt",
         kInputFormats.rows, 0)
        .Report()
        .Help("The format at the reference connector, whether the outputs use it or not. It has "
              "to have the rate of the input. See: 6.1 Genlock."),
};

}  // namespace

void CreateGroup_121(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
