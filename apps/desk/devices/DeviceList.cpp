#include "apps/desk/devices/DeviceList.h"

#include <algorithm>

namespace quorvid::desk {

namespace {

constexpr unsigned kTurnMilliseconds = 15;
constexpr std::int64_t kLongestTurn = 3000;  // microseconds; drawing comes on top

}  // namespace

DeviceList::DeviceList(Desk& desk, GtkListBox* box, DeviceRow::Calls calls)
    : desk_(desk), box_(box), calls_(std::move(calls)) {
  const auto isShown = [](GtkListBoxRow* row, gpointer self) -> gboolean {
    const auto& list = *static_cast<DeviceList*>(self);
    const auto found = list.byWidget_.find(row);
    return found == list.byWidget_.end() || found->second->matches(list.search_) ? TRUE : FALSE;
  };
  gtk_list_box_set_filter_func(box_, isShown, this, nullptr);
}

bool DeviceList::isSame(const std::vector<Device>& devices) const {
  const auto same = [](const Device& a, const Device& b) {
    return a.id == b.id && a.name == b.name && a.isTyped == b.isTyped;
  };
  return std::equal(devices.begin(), devices.end(), devices_.begin(), devices_.end(), same);
}

void DeviceList::show(const std::vector<Device>& devices) {
  const bool same = isSame(devices);
  if (!same) clear();
  devices_ = devices;
  for (std::size_t i = 0; i < rows_.size(); ++i) rows_[i]->take(devices_[i]);
  addSome();
}

void DeviceList::clear() {
  adding_.stop();
  for (const auto& row : rows_) gtk_list_box_remove(box_, row->widget());
  byWidget_.clear();
  rows_.clear();
  devices_.clear();
}

void DeviceList::addSome() {
  const std::int64_t end = g_get_monotonic_time() + kLongestTurn;
  while (rows_.size() < devices_.size() && g_get_monotonic_time() < end) {
    auto row = std::make_unique<DeviceRow>(desk_, devices_[rows_.size()], calls_);
    row->setNarrow(isNarrow_);
    byWidget_[GTK_LIST_BOX_ROW(row->widget())] = row.get();
    gtk_list_box_append(box_, row->widget());
    rows_.push_back(std::move(row));
  }
  if (rows_.size() == devices_.size()) {
    adding_.stop();
  } else if (!adding_) {
    adding_ = Source::every(kTurnMilliseconds, [this] { addSome(); });
  }
}

void DeviceList::search(const std::string& text) {
  search_ = caseFolded(text);
  gtk_list_box_invalidate_filter(box_);
}

void DeviceList::setNarrow(bool isNarrow) {
  isNarrow_ = isNarrow;
  for (const auto& row : rows_) row->setNarrow(isNarrow);
}

}  // namespace quorvid::desk
