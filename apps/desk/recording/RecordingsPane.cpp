#include "apps/desk/recording/RecordingsPane.h"

#include <algorithm>
#include <set>

#include "apps/desk/toolkit/Rows.h"

namespace quorvid::desk {

namespace {

std::string sizeText(std::uint64_t bytes) {
  return taken(g_format_size(bytes));
}

std::string durationText(double seconds) {
  const auto whole = static_cast<int>(seconds);
  if (whole < 3600) return fmt::format("{}:{:02}", whole / 60, whole % 60);
  return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string subtitleOf(const RecordingState& state) {
  const std::string figures =
      durationText(state.seconds) + " · " + sizeText(static_cast<std::uint64_t>(state.bytes));
  return state.trouble.empty() ? figures : figures + " · " + state.trouble;
}

std::string subtitleOf(const FolderFile& file) {
  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> date(
      g_date_time_new_from_unix_local(file.time), g_date_time_unref);
  return taken(g_date_time_format(date.get(), "%x %X")) + " · " + sizeText(file.size);
}

}  // namespace

RecordingsPane::RecordingsPane(Desk& desk, Recordings& recordings)
    : desk_(desk), recordings_(recordings) {
  recordings_.changed.add([this] { showUnderWay(); });
  recordings_.optionsChanged.add([this] { useFolder(); });
  const auto open = [this](auto) { openFile(folder_, life_, teller()); };
  on<void(GtkButton*)>(ui_.get("open_folder"), "clicked", open);
  on<void(GtkListBox*, GtkListBoxRow*)>(ui_.get("files"), "row-activated", [this](auto, auto row) {
    openFile(pathOf(files_.at(static_cast<std::size_t>(gtk_list_box_row_get_index(row))).name),
             life_, teller());
  });
  useFolder();
  showUnderWay();
}

std::string RecordingsPane::pathOf(const std::string& name) const {
  return taken(g_build_filename(folder_.c_str(), name.c_str(), nullptr));
}

OpenFailed RecordingsPane::teller() {
  return [this](const std::string& why) { desk_.said.tell(why); };
}

void RecordingsPane::showUnderWay() {
  std::set<int> present;
  for (const Recordings::Entry& entry : recordings_.all()) {
    present.insert(entry.number);
    GtkWidget*& row = underWay_[entry.number];
    if (row == nullptr) row = addUnderWay(entry);
    adw_action_row_set_subtitle(ADW_ACTION_ROW(row), escaped(subtitleOf(entry.state)).c_str());
  }
  std::erase_if(underWay_, [&](const auto& shown) {
    if (present.contains(shown.first)) return false;
    gtk_list_box_remove(ui_.get<GtkListBox>("under_way"), shown.second);
    return true;
  });
  showWhatThereIs();
}

GtkWidget* RecordingsPane::addUnderWay(const Recordings::Entry& entry) {
  GtkWidget* const row = makeRow(entry.title, "media-record-symbolic", tr("Being Recorded"));
  gtk_widget_add_css_class(row, "under-way");
  GtkWidget* const stop = makeRowButton("media-playback-stop-symbolic", tr("Stop Recording"));
  on<void(GtkButton*)>(stop, "clicked",
                       [this, number = entry.number](auto) { recordings_.end(number); });
  adw_action_row_add_suffix(ADW_ACTION_ROW(row), stop);
  gtk_list_box_append(ui_.get<GtkListBox>("under_way"), row);
  return row;
}

void RecordingsPane::useFolder() {
  const std::string folder = desk_.settings().recording().folder;
  if (folder == folder_) return;
  folder_ = folder;
  const std::string shown = taken(g_filename_display_name(folder_.c_str()));
  adw_preferences_group_set_description(ui_.get<AdwPreferencesGroup>("files_group"),
                                        escaped(shown).c_str());
  watch_.watch(folder_);
}

// Rows of files that are there already stay, and with them the keyboard's place.
void RecordingsPane::showFiles(const FolderListing& listing) {
  GtkListBox* const list = ui_.get<GtkListBox>("files");
  const auto rowAt = [list](std::size_t place) {
    return GTK_WIDGET(gtk_list_box_get_row_at_index(list, static_cast<int>(place)));
  };
  std::set<std::string> present;
  for (const FolderFile& file : listing.files) present.insert(file.name);
  for (std::size_t place = files_.size(); place-- > 0;) {
    if (present.contains(files_[place].name)) continue;
    gtk_list_box_remove(list, rowAt(place));
    files_.erase(files_.begin() + static_cast<std::ptrdiff_t>(place));
  }
  for (std::size_t place = 0; place < listing.files.size(); ++place) {
    const FolderFile& file = listing.files[place];
    if (place == files_.size() || files_[place].name != file.name) {
      gtk_list_box_insert(list, makeFileRow(file), static_cast<int>(place));
      files_.insert(files_.begin() + static_cast<std::ptrdiff_t>(place), file);
    } else if (files_[place] != file) {
      files_[place] = file;
      adw_action_row_set_subtitle(ADW_ACTION_ROW(rowAt(place)), escaped(subtitleOf(file)).c_str());
    }
  }
  GtkWidget* const older = ui_.get("older");
  gtk_widget_set_visible(older, listing.older > 0);
  gtk_label_set_label(GTK_LABEL(older), trn("{} older file is in the folder.",
                                            "{} older files are in the folder.", listing.older)
                                            .c_str());
  showWhatThereIs();
}

GtkWidget* RecordingsPane::makeFileRow(const FolderFile& file) {
  GtkWidget* const row = file.isPicture()
                             ? makeRow(file.name, "image-x-generic-symbolic", tr("Snapshot"))
                             : makeRow(file.name, "video-x-generic-symbolic", tr("Recording"));
  adw_action_row_set_subtitle(ADW_ACTION_ROW(row), escaped(subtitleOf(file)).c_str());
  gtk_list_box_row_set_activatable(GTK_LIST_BOX_ROW(row), TRUE);
  GtkWidget* const show = makeRowButton("folder-open-symbolic", tr("Show in Folder"));
  on<void(GtkButton*)>(show, "clicked", [this, name = file.name](auto) {
    showInFolder(pathOf(name), life_, teller());
  });
  adw_action_row_add_suffix(ADW_ACTION_ROW(row), show);
  return row;
}

void RecordingsPane::showWhatThereIs() {
  gtk_widget_set_visible(ui_.get("under_way_group"), !underWay_.empty());
  gtk_widget_set_visible(ui_.get("files"), !files_.empty());
  const bool isEmpty = underWay_.empty() && files_.empty();
  gtk_stack_set_visible_child_name(ui_.get<GtkStack>("pane"), isEmpty ? "empty" : "lists");
}

}  // namespace quorvid::desk
