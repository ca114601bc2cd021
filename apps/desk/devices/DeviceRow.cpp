#include "apps/desk/devices/DeviceRow.h"

#include "apps/desk/devices/RecordText.h"
#include "apps/desk/devices/ServerCheck.h"
#include "apps/desk/toolkit/Task.h"

namespace quorvid::desk {

namespace {

void setLabel(GtkWidget* widget, const std::string& label) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 label.c_str(), -1);
}

GtkWidget* textButton(const char* label, std::function<void()> call) {
  GtkWidget* const button = gtk_button_new_with_mnemonic(label);
  gtk_widget_add_css_class(button, "touch");
  on<void(GtkButton*)>(button, "clicked", [call = std::move(call)](auto) { call(); });
  return button;
}

}  // namespace

std::string caseFolded(const std::string& text) {
  return taken(g_utf8_casefold(text.c_str(), -1));
}

DeviceRow::DeviceRow(Desk& desk, Device device, Calls calls)
    : desk_(desk), device_(std::move(device)), calls_(std::move(calls)) {
  row_.reset(ADW_EXPANDER_ROW(g_object_ref_sink(adw_expander_row_new())));
  const auto* const id = reinterpret_cast<const std::uint8_t*>(device_.id.data());
  const std::string shownId = shownText(id, device_.id.size());
  trouble_ = device_.id.empty() ? tr("It has no identifier.")
                                : troubleWithDevice(desk_.server()->path, device_.id);
  searchable_ = caseFolded(device_.name + "\n" + shownId);
  auto* const row = ADW_PREFERENCES_ROW(row_.get());
  adw_preferences_row_set_use_markup(row, FALSE);
  adw_preferences_row_set_title(row, device_.name.c_str());
  const std::string& second = device_.isTyped ? tr("Typed by hand") : shownId;
  if (second != device_.name) adw_expander_row_set_subtitle(row_.get(), second.c_str());
  on<void(AdwExpanderRow*, GParamSpec*)>(row_.get(), "notify::expanded",
                                         [this](auto, auto) { expansionChanged(); });
}

bool DeviceRow::matches(const std::string& foldedSearch) const {
  return searchable_.find(foldedSearch) != std::string::npos;
}

void DeviceRow::setNarrow(bool isNarrow) {
  isNarrow_ = isNarrow && trouble_.empty();
  if (isNarrow_ && more_ == nullptr) {
    more_ = gtk_button_new_from_icon_name("view-more-symbolic");
    gtk_widget_set_tooltip_text(more_, tr("Cameras and Details"));
    setLabel(more_, tr("Cameras and Details"));
    gtk_widget_set_valign(more_, GTK_ALIGN_CENTER);
    gtk_widget_add_css_class(more_, "flat");
    gtk_widget_add_css_class(more_, "touch");
    on<void(GtkButton*)>(more_, "clicked", [this](auto) {
      mayOpen_ = true;
      adw_expander_row_set_expanded(row_.get(), !adw_expander_row_get_expanded(row_.get()));
      mayOpen_ = false;
    });
    adw_expander_row_add_action(row_.get(), more_);
  }
  if (more_ != nullptr) gtk_widget_set_visible(more_, isNarrow_ ? TRUE : FALSE);
  isNarrow_ ? gtk_widget_add_css_class(widget(), "direct")
            : gtk_widget_remove_css_class(widget(), "direct");
}

void DeviceRow::expansionChanged() {
  if (adw_expander_row_get_expanded(row_.get()) == 0) return;
  if (!isNarrow_ || mayOpen_) return addContent();
  adw_expander_row_set_expanded(row_.get(), FALSE);
  const Device device = device_;
  desk_.deviceWanted.tell(device);
}

// Most devices of a long list are never opened.
void DeviceRow::addContent() {
  if (std::exchange(hasContent_, true)) return;
  GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
  gtk_widget_add_css_class(box, "device");
  if (trouble_.empty()) {
    gtk_box_append(GTK_BOX(box), cameraButtons());
  } else {
    GtkWidget* const label = gtk_label_new(trouble_.c_str());
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_box_append(GTK_BOX(box), label);
  }
  gtk_box_append(GTK_BOX(box), otherButtons());
  GtkWidget* const content = gtk_list_box_row_new();
  gtk_list_box_row_set_child(GTK_LIST_BOX_ROW(content), box);
  gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(content), FALSE);
  gtk_widget_set_focusable(content, FALSE);
  adw_expander_row_add_row(row_.get(), content);
}

GtkWidget* DeviceRow::cameraButtons() {
  constexpr int kInLine = 4;
  GtkWidget* const grid = gtk_grid_new();
  gtk_grid_set_column_homogeneous(GTK_GRID(grid), TRUE);
  gtk_grid_set_column_spacing(GTK_GRID(grid), 6);
  gtk_grid_set_row_spacing(GTK_GRID(grid), 6);
  for (int i = 0; i < desk_.server()->cameras; ++i) {
    gtk_grid_attach(GTK_GRID(grid), cameraButton(i), i % kInLine, i / kInLine, 1, 1);
  }
  return grid;
}

GtkWidget* DeviceRow::cameraButton(int channel) {
  GtkWidget* const button = gtk_button_new();
  // Not an AdwButtonContent: that adds its text to the button's accessible name.
  GtkWidget* const content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
  gtk_box_append(GTK_BOX(content), gtk_image_new_from_icon_name("camera-web-symbolic"));
  gtk_box_append(GTK_BOX(content), gtk_label_new(std::to_string(channel + 1).c_str()));
  gtk_widget_set_halign(content, GTK_ALIGN_CENTER);
  gtk_button_set_child(GTK_BUTTON(button), content);
  gtk_widget_add_css_class(button, "image-text-button");
  gtk_widget_add_css_class(button, "touch");
  gtk_widget_add_css_class(button, "camera");
  gtk_widget_set_hexpand(button, TRUE);
  const std::string tip = trf("Show camera {}, or drag it into a tile", channel + 1);
  gtk_widget_set_tooltip_text(button, tip.c_str());
  setLabel(button, trf("Camera {}", channel + 1));
  const Camera camera{device_.id, channel};
  on<void(GtkButton*)>(button, "clicked",
                       [this, camera](auto) { desk_.cameraWanted.tell(camera); });
  GtkDragSource* const drag = gtk_drag_source_new();
  // Before the button takes the press for itself.
  gtk_event_controller_set_propagation_phase(GTK_EVENT_CONTROLLER(drag), GTK_PHASE_CAPTURE);
  const std::string text = std::to_string(channel) + "/" + device_.id;
  on<GdkContentProvider*(GtkDragSource*, double, double)>(drag, "prepare", [text](auto...) {
    return gdk_content_provider_new_typed(G_TYPE_STRING, text.c_str());
  });
  gtk_widget_add_controller(button, GTK_EVENT_CONTROLLER(drag));
  return button;
}

GtkWidget* DeviceRow::otherButtons() {
  GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
  gtk_box_set_homogeneous(GTK_BOX(box), TRUE);
  if (trouble_.empty()) {
    const auto all = [this] {
      const Device device = device_;
      desk_.deviceWanted.tell(device);
    };
    gtk_box_append(GTK_BOX(box), textButton(tr("Show _All"), all));
  }
  // What they do may end this row.
  const auto later = [this](std::function<void(const Device&)> call) {
    onMainThread([call = std::move(call), device = device_] { call(device); });
  };
  gtk_box_append(GTK_BOX(box),
                 device_.isTyped
                     ? textButton(tr("Re_move"), [=, this] { later(calls_.remove); })
                     : textButton(tr("_Details"), [=, this] { later(calls_.details); }));
  return box;
}

}  // namespace quorvid::desk
