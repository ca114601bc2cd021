#include "apps/desk/diagnosis/DiagnosisPane.h"

#include <algorithm>

#include "apps/desk/toolkit/Rows.h"

namespace quorvid::desk {

namespace {

constexpr int kMostCameras = 8;

std::string nowText() {
  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> now(g_date_time_new_now_utc(),
                                                             g_date_time_unref);
  return taken(g_date_time_format(now.get(), "%Y-%m-%dT%H:%M:%SZ"));
}

void setTexts(GtkDropDown* choice, const std::vector<std::string>& texts) {
  std::vector<const char*> rows;
  rows.reserve(texts.size() + 1);
  for (const std::string& text : texts) rows.push_back(text.c_str());
  rows.push_back(nullptr);
  const ObjectPtr<GtkStringList> list(gtk_string_list_new(rows.data()));
  gtk_drop_down_set_model(choice, G_LIST_MODEL(list.get()));
}

GtkWidget* endText(const std::string& text) {
  GtkWidget* const label = gtk_label_new(text.c_str());
  gtk_widget_add_css_class(label, "dim-label");
  gtk_widget_add_css_class(label, "numeric");
  return label;
}

}  // namespace

DiagnosisPane::DiagnosisPane(Desk& desk) : desk_(desk) {
  desk_.devicesChanged.add([this] { listDevices(); });
  desk_.serverChanged.add([this] {
    next_.reset();
    extra_.clear();
    target_ = {};  // what is still found isn't shown
    probe_.cancel();
    clear();
    listCameras();
    listDevices();
  });
  desk_.diagnosisWanted.add([this](const Camera& camera) {
    choose(camera);
    examine(camera);
  });
  on<void(GtkButton*)>(ui_.get("examine"), "clicked", [this](auto) {
    if (const auto camera = chosen()) examine(*camera);
  });
  on<void(GtkButton*)>(ui_.get("stop"), "clicked", [this](auto) {
    next_.reset();
    probe_.cancel();
  });
  on<void(GtkButton*)>(ui_.get("copy"), "clicked", [this](auto) {
    if (!told_) return;
    gdk_clipboard_set_text(gtk_widget_get_clipboard(widget()), ticketOf(target_, *told_).c_str());
    desk_.said.tell(tr("The report is on the clipboard."));
  });
  clear();
  listCameras();
  listDevices();
}

void DiagnosisPane::listDevices() {
  const auto before = chosen();
  std::vector<std::string> ids;
  std::vector<std::string> names;
  const auto add = [&](const std::string& id, const std::string& name) {
    ids.push_back(id);
    names.push_back(visible(name.empty() ? id : name, 100));
  };
  for (const Device& device : desk_.devices()) add(device.id, device.name);
  if (!extra_.empty() && desk_.device(extra_) == nullptr) add(extra_, extra_);
  ids_ = ids;
  setTexts(ui_.get<GtkDropDown>("device"), names);
  if (before) choose(*before);
  gtk_widget_set_sensitive(ui_.get("device"), !ids_.empty());
  gtk_widget_set_sensitive(ui_.get("camera"), !ids_.empty());
  showButtons();
}

void DiagnosisPane::listCameras() {
  std::vector<std::string> names;
  const int cameras = desk_.server() ? std::clamp(desk_.server()->cameras, 1, kMostCameras) : 1;
  for (int camera = 1; camera <= cameras; ++camera) names.push_back(trf("Camera {}", camera));
  setTexts(ui_.get<GtkDropDown>("camera"), names);
}

// One that no list names is listed from now on.
void DiagnosisPane::choose(const Camera& camera) {
  auto found = std::find(ids_.begin(), ids_.end(), camera.device);
  if (found == ids_.end()) {
    if (extra_ == camera.device) return;
    extra_ = camera.device;
    listDevices();
    found = std::find(ids_.begin(), ids_.end(), camera.device);
  }
  gtk_drop_down_set_selected(ui_.get<GtkDropDown>("device"),
                             static_cast<guint>(found - ids_.begin()));
  gtk_drop_down_set_selected(ui_.get<GtkDropDown>("camera"), static_cast<guint>(camera.channel));
}

std::optional<Camera> DiagnosisPane::chosen() const {
  const guint device = gtk_drop_down_get_selected(ui_.get<GtkDropDown>("device"));
  const guint camera = gtk_drop_down_get_selected(ui_.get<GtkDropDown>("camera"));
  if (device >= ids_.size() || camera >= static_cast<guint>(kMostCameras)) return std::nullopt;
  return Camera{ids_[device], static_cast<int>(camera)};
}

void DiagnosisPane::examine(const Camera& camera) {
  if (!desk_.server()) return;
  if (probe_.isRunning()) {
    next_ = camera;
    return probe_.cancel();
  }
  clear();
  target_ = desk_.target(camera);
  const std::string title = visible(desk_.titleOf(camera), 100);
  showVerdict(trf("Examining {}…", title), tr("This takes a few seconds."),
              "content-loading-symbolic", "dim-label");
  probe_.start(target_, [this](const Probe::Outcome& outcome) { take(outcome); });
  target_.password.clear();
  showButtons();
}

void DiagnosisPane::take(const Probe::Outcome& outcome) {
  clear();
  if (next_) {
    const Camera camera = *next_;
    next_.reset();
    return examine(camera);
  }
  if (target_.host.empty()) return;
  if (outcome.report) {
    told_ = outcome.report;
  } else {
    told_.emplace();
    told_->problems = {outcome.trouble};
    told_->time = nowText();
  }
  show(*told_);
  showButtons();
}

void DiagnosisPane::show(const ProbeReport& report) {
  std::string text;
  for (const std::string& problem : report.problems) text += (text.empty() ? "" : "\n") + problem;
  if (report.problems.empty()) text = tr("Nothing was found that would trouble the picture.");
  static constexpr struct {
    const char *icon, *style;
  } kSigns[] = {{"emblem-ok-symbolic", "success"},
                {"dialog-warning-symbolic", "warning"},
                {"dialog-error-symbolic", "error"},
                {"dialog-question-symbolic", "dim-label"}};
  const auto& sign = kSigns[static_cast<int>(report.verdict)];
  showVerdict(headlineOf(report.verdict), text, sign.icon, sign.style);
  for (const ProbeReport::Step& step : report.steps) {
    GtkWidget* const row = step.isGood ? makeRow(step.title, "emblem-ok-symbolic", tr("Good"))
                                       : makeRow(step.title, "dialog-error-symbolic", tr("Failed"));
    gtk_widget_add_css_class(row, step.isGood ? "good-step" : "failed-step");
    adw_action_row_set_subtitle(ADW_ACTION_ROW(row), escaped(step.text).c_str());
    adw_action_row_add_suffix(ADW_ACTION_ROW(row), endText(trf("{:.3f} s", step.seconds)));
    addRow("steps", row);
  }
  for (const ProbeReport::Figure& figure : report.figures) {
    GtkWidget* const row = adw_action_row_new();
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), escaped(figure.title).c_str());
    adw_action_row_add_suffix(ADW_ACTION_ROW(row), endText(figure.text));
    addRow("figures", row);
  }
}

void DiagnosisPane::showVerdict(const std::string& title, const std::string& text, const char* icon,
                                const char* style) {
  gtk_label_set_label(ui_.get<GtkLabel>("verdict"), title.c_str());
  gtk_label_set_label(ui_.get<GtkLabel>("problems"), text.c_str());
  GtkImage* const sign = ui_.get<GtkImage>("sign");
  gtk_image_set_from_icon_name(sign, icon);
  const char* styles[] = {style, nullptr};
  gtk_widget_set_css_classes(GTK_WIDGET(sign), styles);
}

void DiagnosisPane::addRow(const char* list, GtkWidget* row) {
  gtk_list_box_append(ui_.get<GtkListBox>(list), row);
  gtk_widget_set_visible(ui_.get((std::string(list) + "_group").c_str()), TRUE);
}

void DiagnosisPane::clear() {
  told_.reset();
  for (const char* const name : {"steps", "figures"}) {
    GtkListBox* const list = ui_.get<GtkListBox>(name);
    while (GtkListBoxRow* const row = gtk_list_box_get_row_at_index(list, 0)) {
      gtk_list_box_remove(list, GTK_WIDGET(row));
    }
    gtk_widget_set_visible(ui_.get((std::string(name) + "_group").c_str()), FALSE);
  }
  showVerdict(tr("What Is Wrong With a Camera?"),
              tr("An examination asks the server for its stream, measures it for five seconds and "
                 "says what it found."),
              "dialog-question-symbolic", "dim-label");
  showButtons();
}

void DiagnosisPane::showButtons() {
  const bool isRunning = probe_.isRunning();
  gtk_widget_set_visible(ui_.get("spinner"), isRunning);
  gtk_widget_set_visible(ui_.get("sign"), !isRunning);
  gtk_widget_set_visible(ui_.get("stop"), isRunning);
  gtk_widget_set_visible(ui_.get("examine"), !isRunning);
  gtk_widget_set_sensitive(ui_.get("examine"), !ids_.empty());
  gtk_widget_set_visible(ui_.get("copy"), told_.has_value());
  gtk_label_set_label(ui_.get<GtkLabel>("examine_label"),
                      told_ ? tr("_Examine Again") : tr("_Examine"));
}

}  // namespace quorvid::desk
