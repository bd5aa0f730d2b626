#include "programs/Params.h"

#include <set>

namespace programs {
namespace {

struct GroupTitle {
  int group;
  const char* title;
};

constexpr GroupTitle kTitles[] = {
    {0, "Status"},
    {1, "Formats"},
    {2, "Inputs"},
    {3, "Video levels"},
    {4, "Audio levels"},
    {5, "Conversion"},
    {6, "Genlock"},
    {8, "Timecode"},
    {9, "Interval recording"},
    {12, "Media state"},
    {13, "Camera data"},
    {14, "Encoding"},
    {15, "Playback"},
    {16, "Media maintenance"},
    {17, "Clip names"},
    {19, "Custom clip names"},
    {22, "Gang clip names"},
    {30, "Diversion"},
    {32, "Loss of video"},
    {35, "Remote control and gang"},
    {41, "Signal generator"},
    {50, "Network"},
    {52, "Discovery"},
    {53, "Wireless"},
    {54, "Wireless addresses"},
    {55, "Date and time"},
    {60, "Suppressed alarms"},
    {70, "Panel and fan"},
    {80, "Identity"},
    {91, "Presets: save and recall"},
    {92, "Presets: load and store"},
    {93, "Presets: results"},
    {94, "Presets: names"},
    {99, "Factory settings"},
    {100, "Board"},
    {120, "Identification lamp"},
    {121, "Detected formats"},
    {122, "Progress"},
    {123, "Storage and password"},
    {125, "Transport, system and media"},
    {126, "Alarms"},
    {127, "Panel memory"},
};

class Order {
 public:
  explicit Order(const std::vector<eParam_t>& ids) : _wanted(ids.begin(), ids.end()) {}

  // Also through parameters that are not wanted themselves. Each is visited once, so that a circle
  // ends.
  void Append(eParam_t id) {
    if (!_visited.insert(id).second) return;
    if (const ParamDescriptor* const param = FindDescriptor(id)) {
      for (const eParam_t selector : param->GetDependsOnParamIDs()) Append(selector);
    }
    if (_wanted.count(id) != 0) _ordered.push_back(id);
  }

  std::vector<eParam_t> Take() { return std::move(_ordered); }

 private:
  const std::set<eParam_t> _wanted;
  std::set<eParam_t> _visited;
  std::vector<eParam_t> _ordered;
};

}  // namespace

std::string MenuTitle(int group) {
  for (const GroupTitle& entry : kTitles) {
    if (entry.group == group) return entry.title;
  }
  return "Group " + std::to_string(group);
}

std::vector<eParam_t> SelectorsFirst(const std::vector<eParam_t>& ids) {
  Order order(ids);
  for (const eParam_t id : ids) order.Append(id);
  return order.Take();
}

}  // namespace programs
