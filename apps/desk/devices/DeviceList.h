// DeviceList: the rows of the devices, made a few at a time so that a long list holds nothing up;
// searched while the user types. Main thread.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "apps/desk/devices/DeviceRow.h"
#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class DeviceList {
 public:
  DeviceList(Desk& desk, GtkListBox* box, DeviceRow::Calls calls);
  ~DeviceList() { gtk_list_box_set_filter_func(box_, nullptr, nullptr, nullptr); }
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;

  // Of the desk's devices. Rows stay as they are where only the records are new.
  void show(const std::vector<Device>& devices);
  void clear();
  void search(const std::string& text);
  void setNarrow(bool isNarrow);

 private:
  bool isSame(const std::vector<Device>& devices) const;
  void addSome();

  Desk& desk_;
  GtkListBox* box_;
  DeviceRow::Calls calls_;
  std::vector<Device> devices_;
  std::vector<std::unique_ptr<DeviceRow>> rows_;  // of the first devices, then of all
  std::unordered_map<GtkListBoxRow*, DeviceRow*> byWidget_;
  Source adding_;
  std::string search_;
  bool isNarrow_ = false;
};

}  // namespace quorvid::desk
