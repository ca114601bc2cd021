// DeviceRow: a device in the list, that opens to its cameras. In a narrow window it shows all its
// cameras at once when it is activated, and opens by a button of its own. Main thread.
#pragma once

#include <functional>
#include <string>

#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class DeviceRow {
 public:
  struct Calls {
    std::function<void(const Device&)> details;
    std::function<void(const Device&)> remove;  // of one typed by hand
  };

  DeviceRow(Desk& desk, Device device, Calls calls);
  GtkWidget* widget() const { return GTK_WIDGET(row_.get()); }
  const Device& device() const { return device_; }
  // A newer record of the same device.
  void take(const Device& device) { device_ = device; }
  void setNarrow(bool isNarrow);
  bool matches(const std::string& foldedSearch) const;

 private:
  void addContent();
  GtkWidget* cameraButtons();
  GtkWidget* cameraButton(int channel);
  GtkWidget* otherButtons();
  void expansionChanged();

  Desk& desk_;
  Device device_;
  Calls calls_;
  std::string trouble_;     // why its cameras can't be asked for
  std::string searchable_;  // case folded
  ObjectPtr<AdwExpanderRow> row_;
  GtkWidget* more_ = nullptr;
  bool isNarrow_ = false;
  bool mayOpen_ = false;  // in a narrow window: by the button
  bool hasContent_ = false;
};

std::string caseFolded(const std::string& text);

}  // namespace quorvid::desk
