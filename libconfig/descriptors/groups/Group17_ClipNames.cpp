// 17 Clip names: of what the name of a new clip is made.
#include "libconfig/descriptors/groups/Groups.h"
#include "libconfig/descriptors/groups/SharedChoices.h"
#include "libconfig/descriptors/groups/Texts.h"

namespace qel::config {
namespace {

constexpr unsigned kAppendNumber = 1;
constexpr unsigned kAppendTake = 2;
constexpr Choice kAppends[] = {
    {0, "None"},     {kAppendNumber, "Clip Number", "Number"}, {kAppendTake, "Take"},
    {3, "Timecode"}, {4, "Date and Time", "Date\n  Time"},
};

constexpr Choice kLetters[] = {
    {0, "None"}, {1, "A"},  {2, "B"},  {3, "C"},  {4, "D"},  {5, "E"},  {6, "F"},
    {7, "G"},    {8, "H"},  {9, "I"},  {10, "J"}, {11, "K"}, {12, "L"}, {13, "M"},
    {14, "N"},   {15, "O"}, {16, "P"}, {17, "Q"}, {18, "R"}, {19, "S"}, {20, "T"},
    {21, "U"},   {22, "V"}, {23, "W"}, {24, "X"}, {25, "Y"}, {26, "Z"},
};

constexpr ParamRow kRows[] = {
    FileName(PARAM(ReelName), "Reel Name", "Reel", 0, 8, "001")
        .Keep(Keeping::kWorking)
        .Help("The reel that new clips belong to. Change it when fresh media go in, so that the "
              "edit list tells them apart."),
    FileName(PARAM(ClipName), "Clip Name", "ClipName", 1, 24, "Clip")
        .EnabledBy(eParamID_UseCustomClipName, kOff)
        .Help("The beginning of the name of new clips. See: 17.4 Clip Append, "
              "19.1 Use Custom Clip Name."),
    Integer(PARAM(ClipNumber), "Clip Number", "Clip No.", 1, 9999, 1)
        .Keep(Keeping::kWorking)
        .EnabledBy(eParamID_ClipAppend, kAppendNumber)
        .Help("The number that the next clip gets; it advances with every recording. Set it back "
              "to 1 when a new job begins. See: 17.4 Clip Append."),
    Enum(PARAM(ClipAppend), "Clip Append", "Append", kAppends, kAppendNumber)
        .Help("Selects what follows 17.2 Clip Name in the name of a new clip. With None, record "
              "only once before the name is changed: a name that is in use stops the recording."),
    Enum(PARAM(AlphaAppend), "Alpha Append", "Alpha", kLetters, 0)
        .Help("The letter that ends the name of a new clip. Give each unit of a shoot with several "
              "cameras a letter of its own."),
    Integer(PARAM(Take), "Take", "Take", 1, 999, 1)
        .Keep(Keeping::kWorking)
        .EnabledBy(eParamID_ClipAppend, kAppendTake)
        .Help("The number of the next take; it advances with every recording. Set it back to 1 "
              "when the scene changes. See: 17.4 Clip Append."),
};

}  // namespace

void CreateGroup_17(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
