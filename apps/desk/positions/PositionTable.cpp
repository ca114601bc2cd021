#include "apps/desk/positions/PositionTable.h"

#include "apps/desk/devices/RecordText.h"

namespace quorvid::desk {

namespace {

constexpr std::int64_t kMarked = 2'000'000;  // microseconds
constexpr unsigned kLookMilliseconds = 250;
constexpr const char* kRowKey = "row";

using Cells = std::array<std::string, PositionTable::kColumns>;

Cells cellsOf(const DevInfoItem& record) {
  return {shownText(record.blk64),
          shownText(record.blkA32),
          std::to_string(wireValue(record.numA)),
          std::to_string(wireValue(record.numB)),
          fmt::format("{}/{}/{}", record.byteA, record.byteB, record.byteC),
          shownText(record.blk9),
          shownText(record.blk128)};
}

const char* titleOf(std::size_t column) {
  // The fields go by their names: what they mean is between the server and whoever reads them.
  constexpr const char* kFields[] = {"numA", "numB", "byteA/B/C", "blk9", "blk128"};
  if (column == 0) return tr("Identifier");
  return column == 1 ? tr("Name") : kFields[column - 2];
}

int orderOf(const DevInfoItem& record) {
  return record.byteA << 16 | record.byteB << 8 | record.byteC;
}

int compare(long a, long b) {
  return static_cast<int>(a > b) - static_cast<int>(a < b);
}

}  // namespace

struct PositionTable::Row {
  DevInfoItem record{};
  Cells cells;
  Cells keys;                                    // of the cells, to sort by
  std::array<std::int64_t, kColumns> changed{};  // when
  bool isSeen = true;

  static const Row& of(gconstpointer item) {
    return *static_cast<const Row*>(
        g_object_get_data(static_cast<GObject*>(const_cast<gpointer>(item)), kRowKey));
  }
  bool take(const DevInfoItem& now) {
    record = now;
    Cells texts = cellsOf(now);
    bool isOther = false;
    for (std::size_t i = 0; i < kColumns; ++i) {
      if (texts[i] == cells[i]) continue;
      changed[i] = g_get_monotonic_time();
      keys[i] = sortKey(texts[i]);
      isOther = true;
    }
    cells = std::move(texts);
    return isOther;
  }
  bool isMarked(std::size_t column) const {
    return changed[column] != 0 && g_get_monotonic_time() - changed[column] < kMarked;
  }
  static int compareAt(gconstpointer first, gconstpointer second, gpointer column) {
    const Row& a = of(first);
    const Row& b = of(second);
    switch (const auto index = GPOINTER_TO_SIZE(column)) {
      case 2:
        return compare(wireValue(a.record.numA), wireValue(b.record.numA));
      case 3:
        return compare(wireValue(a.record.numB), wireValue(b.record.numB));
      case 4:
        return compare(orderOf(a.record), orderOf(b.record));
      default:
        return a.keys[index].compare(b.keys[index]);
    }
  }
};

PositionTable::PositionTable(GtkScrolledWindow* place)
    : place_(place), store_(g_list_store_new(GTK_TYPE_STRING_OBJECT)) {
  view_.reset(GTK_COLUMN_VIEW(g_object_ref_sink(gtk_column_view_new(nullptr))));
  GtkWidget* const widget = GTK_WIDGET(view_.get());
  gtk_widget_add_css_class(widget, "positions");
  gtk_column_view_set_show_row_separators(view_.get(), TRUE);
  for (std::size_t column = 0; column < kColumns; ++column) addColumn(column);
  GtkSortListModel* const sorted =
      gtk_sort_list_model_new(G_LIST_MODEL(g_object_ref(store_.get())),
                              GTK_SORTER(g_object_ref(gtk_column_view_get_sorter(view_.get()))));
  const ObjectPtr<GtkNoSelection> model(gtk_no_selection_new(G_LIST_MODEL(sorted)));
  gtk_column_view_set_model(view_.get(), GTK_SELECTION_MODEL(model.get()));
  gtk_scrolled_window_set_child(place, widget);
}

// The cells let go of their rows while those are there.
PositionTable::~PositionTable() {
  gtk_column_view_set_model(view_.get(), nullptr);
}

void PositionTable::addColumn(std::size_t column) {
  GtkListItemFactory* const factory = gtk_signal_list_item_factory_new();
  using ItemSignal = void(GtkSignalListItemFactory*, GtkListItem*);
  on<ItemSignal>(factory, "setup", [](auto, GtkListItem* item) {
    GtkWidget* const label = gtk_label_new(nullptr);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_label_set_width_chars(GTK_LABEL(label), 8);
    gtk_label_set_max_width_chars(GTK_LABEL(label), 40);
    gtk_widget_add_css_class(label, "numeric");
    gtk_list_item_set_child(item, label);
  });
  on<ItemSignal>(factory, "bind", [this, column](auto, GtkListItem* item) {
    const Row& row = Row::of(gtk_list_item_get_item(item));
    bind(item, {GTK_LABEL(gtk_list_item_get_child(item)), &row, column});
  });
  on<ItemSignal>(factory, "unbind", [this](auto, GtkListItem* item) { cells_.erase(item); });
  GtkColumnViewColumn* const added = gtk_column_view_column_new(titleOf(column), factory);
  const ObjectPtr<GtkSorter> sorter(
      GTK_SORTER(gtk_custom_sorter_new(&Row::compareAt, GSIZE_TO_POINTER(column), nullptr)));
  gtk_column_view_column_set_sorter(added, sorter.get());
  gtk_column_view_column_set_resizable(added, TRUE);
  gtk_column_view_column_set_expand(added, column + 1 == kColumns ? TRUE : FALSE);
  gtk_column_view_append_column(view_.get(), added);
  g_object_unref(added);
}

void PositionTable::show(const std::vector<DevInfoItem>& records) {
  GtkAdjustment* const scroll = gtk_scrolled_window_get_vadjustment(place_);
  const double at = gtk_adjustment_get_value(scroll);
  for (auto& [key, row] : rows_) row->isSeen = false;
  std::unordered_map<std::string, int> same;
  bool isOther = false;
  for (const DevInfoItem& record : records) {
    const std::string id = shownText(record.blk64);
    const std::string key = fmt::format("{}#{}", id, same[id]++);
    const auto known = rows_.find(key);
    if (known == rows_.end()) {
      add(key, record);
      continue;
    }
    known->second->isSeen = true;
    isOther = known->second->take(record) || isOther;
  }
  dropUnseen();
  if (isOther) {
    gtk_sorter_changed(gtk_column_view_get_sorter(view_.get()), GTK_SORTER_CHANGE_DIFFERENT);
  }
  remark();
  gtk_adjustment_set_value(scroll, at);
}

void PositionTable::add(const std::string& key, const DevInfoItem& record) {
  auto row = std::make_unique<Row>();
  row->take(record);
  row->changed = {};
  const ObjectPtr<GtkStringObject> item(gtk_string_object_new(key.c_str()));
  g_object_set_data(G_OBJECT(item.get()), kRowKey, row.get());
  rows_[key] = std::move(row);
  g_list_store_append(store_.get(), item.get());
}

void PositionTable::dropUnseen() {
  for (guint i = g_list_model_get_n_items(G_LIST_MODEL(store_.get())); i-- > 0;) {
    const ObjectPtr<GtkStringObject> item(
        GTK_STRING_OBJECT(g_list_model_get_item(G_LIST_MODEL(store_.get()), i)));
    if (Row::of(item.get()).isSeen) continue;
    g_list_store_remove(store_.get(), i);
    rows_.erase(gtk_string_object_get_string(item.get()));
  }
}

void PositionTable::clear() {
  show({});
}

// Yields whether the cell is marked.
bool PositionTable::fill(const Cell& cell) {
  const std::string& text = cell.row->cells[cell.column];
  if (text != gtk_label_get_label(cell.label)) gtk_label_set_label(cell.label, text.c_str());
  const bool isMarked = cell.row->isMarked(cell.column);
  GtkWidget* const widget = GTK_WIDGET(cell.label);
  isMarked ? gtk_widget_add_css_class(widget, "changed")
           : gtk_widget_remove_css_class(widget, "changed");
  return isMarked;
}

void PositionTable::bind(GtkListItem* item, const Cell& cell) {
  cells_[item] = cell;
  fill(cell);
}

// The cells in the window; again while there are marks.
void PositionTable::remark() {
  bool isAny = false;
  for (const auto& [item, cell] : cells_) isAny = fill(cell) || isAny;
  if (!isAny) marks_.stop();
  if (isAny && !marks_) marks_ = Source::every(kLookMilliseconds, [this] { remark(); });
}

}  // namespace quorvid::desk
