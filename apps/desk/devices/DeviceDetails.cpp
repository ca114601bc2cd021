#include "apps/desk/devices/DeviceDetails.h"

#include "apps/desk/devices/RecordText.h"

namespace quorvid::desk {

void showDetails(GtkWindow* parent, const Device& device) {
  const Ui ui("DeviceDetails");
  const std::string text = rawText(device.record);
  auto* const window = ui.get<GtkWindow>("window");
  gtk_window_set_transient_for(window, parent);
  adw_window_title_set_subtitle(ui.get<AdwWindowTitle>("title"), device.name.c_str());
  gtk_text_buffer_set_text(gtk_text_view_get_buffer(ui.get<GtkTextView>("text")), text.c_str(),
                           static_cast<int>(text.size()));
  auto* const toasts = ui.get<AdwToastOverlay>("toasts");
  on<void(GtkButton*)>(ui.get("copy"), "clicked", [text, toasts](auto) {
    gdk_clipboard_set_text(gtk_widget_get_clipboard(GTK_WIDGET(toasts)), text.c_str());
    adw_toast_overlay_add_toast(toasts, adw_toast_new(tr("Copied")));
  });
  gtk_window_present(window);
}

}  // namespace quorvid::desk
