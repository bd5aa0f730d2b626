// 32 Loss of video: what a recording does without its source.
#include "libconfig/descriptors/groups/Groups.h"

namespace qel::config {
namespace {

constexpr Choice kReactions[] = {
    {0, "Stop Recording", "Stop Rec"},
    {1, "Record Black", "RecBlack"},
    {2, "Freeze Frame", "Freeze"},
};

constexpr ParamRow kRows[] = {
    Enum(PARAM(LossOfVideo), "Loss of Video", "Vid Loss", kReactions, 0)
        .Help("Selects what a recording does when its input disappears. Record Black keeps the "
              "clip running and in time with the rest of a gang; Stop Recording closes it."),
};

}  // namespace

void CreateGroup_32(CatalogueBuilder& builder) { builder.Add(kRows); }

}  // namespace qel::config
