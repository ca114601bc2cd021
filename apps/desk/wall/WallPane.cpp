#include "apps/desk/wall/WallPane.h"

#include <utility>

namespace quorvid::desk {

namespace {

constexpr int kNarrow = 600;          // points
constexpr unsigned kTellEvery = 500;  // ms
constexpr int kAhead = 5;             // seconds that a page plays before it is shown

}  // namespace

WallPane::WallPane(Desk& desk, Recordings& recordings)
    : desk_(desk),
      recordings_(recordings),
      grid_(ui_.get<GtkGrid>("grid"),
            [this](int index) {
              TileCalls calls;
              calls.enlarge = [this, index] {
                enlarge(shown_.enlarged ? std::nullopt : std::optional<int>(index));
              };
              calls.remove = [this, index] { remove(index); };
              calls.drop = [this, index](const Camera& camera) { drop(index, camera); };
              calls.turn = [this] { area_.turn(); };
              return std::make_unique<Tile>(desk_, recordings_, std::move(calls));
            }),
      area_(ui_.get<GtkGLArea>("area"),
            {[this] { arrange(); }, [this] { grid_.playAll(*area_.host()); },
             [this] { grid_.stopAll(); }}),
      menu_(desk,
            {[this](const Layout& layout) { useLayout(layout); }, [this] { return shown_.layout; },
             [this] {
               useLayout({shown_.layout.columns, {}});
             }}) {
  gtk_overlay_set_measure_overlay(ui_.get<GtkOverlay>("overlay"), ui_.get("grid"), TRUE);
  desk_.serverChanged.add([this] { serverChanged(); });
  desk_.devicesChanged.add([this] { grid_.tellAll(); });
  desk_.cameraWanted.add([this](const Camera& camera) { add(camera); });
  desk_.deviceWanted.add([this](const Device& device) { showDevice(device); });
  recordings_.changed.add([this] { grid_.tellAll(); });
  on<void(GtkButton*)>(ui_.get("previous"), "clicked", [this](auto) { step(-1); });
  on<void(GtkButton*)>(ui_.get("next"), "clicked", [this](auto) { step(1); });
  addKeys();
  addSwipe();
  timer_ = Source::every(kTellEvery, [this] { grid_.tellAll(); });
  grid_.show(shown_);
}

void WallPane::serverChanged() {
  grid_.stopAll();
  Layout layout;
  if (desk_.server()) {
    layout = desk_.settings().layout(desk_.server()->id, Settings::kLast).value_or(Layout());
  }
  useLayout(layout, false);
  isKept_ = true;
}

void WallPane::useLayout(const Layout& layout, bool isKept) {
  shown_.layout = layout;
  shown_.page = 0;
  shown_.enlarged.reset();
  isKept_ = isKept;
  keep();
}

// What is shown now is what comes back.
void WallPane::keep() {
  auto& tiles = shown_.layout.tiles;
  while (!tiles.empty() && !tiles.back()) tiles.pop_back();
  shown_.page = std::clamp(shown_.page, 0, shown_.layout.pages() - 1);
  grid_.show(shown_);
  const int pages = shown_.layout.pages();
  gtk_widget_set_visible(ui_.get("pages"), pages > 1 && pageSeconds_ == 0 ? TRUE : FALSE);
  gtk_label_set_text(ui_.get<GtkLabel>("page"), trf("{} of {}", shown_.page + 1, pages).c_str());
  if (isKept_ && desk_.server()) {
    desk_.settings().keepLayout(desk_.server()->id, Settings::kLast, shown_.layout);
  }
  area_.turnSoon();
}

void WallPane::setColumns(int columns) {
  shown_.layout.columns = std::clamp(columns, 1, Layout::kMostColumns);
  shown_.enlarged.reset();
  keep();
}

// Into the tile that has the keyboard, if it is empty, or else the first empty one; a page follows
// where there is none.
void WallPane::add(const Camera& camera) {
  auto& tiles = shown_.layout.tiles;
  const auto found = std::find(tiles.begin(), tiles.end(), std::optional<Camera>(camera));
  if (found != tiles.end()) {
    shown_.page = static_cast<int>(found - tiles.begin()) / shown_.layout.perPage();
    return keep();
  }
  const auto isEmpty = [&](int index) {
    return index >= static_cast<int>(tiles.size()) || !tiles[index];
  };
  int index = grid_.focused();
  if (index < 0 || !isEmpty(index)) index = 0;
  while (!isEmpty(index)) ++index;
  shown_.enlarged.reset();
  shown_.page = index / shown_.layout.perPage();
  drop(index, camera);
}

void WallPane::showDevice(const Device& device) {
  const int cameras = desk_.server() ? desk_.server()->cameras : 0;
  if (!shown_.narrow) {
    for (int channel = 0; channel < cameras; ++channel) add({device.id, channel});
    return;
  }
  // In the hand it is a look at this one vehicle.
  Layout layout;
  layout.columns = cameras <= 4 ? 2 : 3;
  for (int channel = 0; channel < cameras; ++channel)
    layout.tiles.emplace_back(Camera{device.id, channel});
  useLayout(layout, false);
}

// A camera that stood in another tile changes places with what is here.
void WallPane::drop(int index, const Camera& camera) {
  auto& tiles = shown_.layout.tiles;
  if (index >= static_cast<int>(tiles.size())) tiles.resize(index + 1);
  const auto found = std::find(tiles.begin(), tiles.end(), std::optional<Camera>(camera));
  if (found != tiles.end()) {
    std::swap(*found, tiles[index]);
  } else {
    tiles[index] = camera;
  }
  keep();
}

void WallPane::remove(int index) {
  if (index >= static_cast<int>(shown_.layout.tiles.size())) return;
  shown_.layout.tiles[index].reset();
  shown_.enlarged.reset();
  keep();
}

void WallPane::enlarge(std::optional<int> index) {
  const int from = shown_.enlarged.value_or(-1);
  shown_.enlarged = index;
  keep();
  const int focus = index.value_or(from);
  if (Tile* const tile = grid_.tile(focus)) gtk_widget_grab_focus(tile->widget());
}

void WallPane::step(int by) {
  if (!shown_.enlarged) {
    const int pages = shown_.layout.pages();
    shown_.page = (shown_.page + by + pages) % pages;
    return keep();
  }
  const auto& tiles = shown_.layout.tiles;
  const int count = static_cast<int>(tiles.size());
  for (int i = 1; i <= count; ++i) {
    const int index = ((*shown_.enlarged + i * by) % count + count) % count;
    if (!tiles[index]) continue;
    shown_.page = index / shown_.layout.perPage();
    return enlarge(index);
  }
}

bool WallPane::beginKiosk(const std::string& layout, int pageSeconds) {
  if (!desk_.server()) return false;
  const auto found = desk_.settings().layout(desk_.server()->id, layout);
  if (!found) return false;
  pageSeconds_ = pageSeconds;
  useLayout(*found, false);
  pageAge_ = 0;
  pages_ = Source::every(1000, [this] { turnPage(); });
  return true;
}

// The next page is asked for some seconds before, so that it has pictures when it is shown.
void WallPane::turnPage() {
  const int pages = shown_.layout.pages();
  if (pages < 2 || shown_.enlarged) return;
  ++pageAge_;
  const int next = (shown_.page + 1) % pages;
  if (pageAge_ >= pageSeconds_) {
    pageAge_ = 0;
    shown_.page = next;
    shown_.ahead.reset();
    keep();
  } else if (pageAge_ >= pageSeconds_ - kAhead && !shown_.ahead) {
    shown_.ahead = next;
    keep();
  }
}

void WallPane::arrange() {
  GtkWidget* const scroller = ui_.get("scroller");
  const bool narrow = gtk_widget_get_width(scroller) < kNarrow;
  if (narrow != shown_.narrow && gtk_widget_get_width(scroller) > 0) {
    shown_.narrow = narrow;
    narrow ? gtk_widget_add_css_class(scroller, "narrow")
           : gtk_widget_remove_css_class(scroller, "narrow");
    grid_.show(shown_);
  }
  GtkAdjustment* const position =
      gtk_scrolled_window_get_vadjustment(ui_.get<GtkScrolledWindow>("scroller"));
  const double top = gtk_adjustment_get_value(position);
  grid_.place(ui_.get("area"), top, top + gtk_adjustment_get_page_size(position));
}

void WallPane::recordAll() {
  const bool anyOff = [this] {
    bool off = false;
    grid_.forEach(
        [&](Tile& tile) { off = off || (tile.camera() && !recordings_.stateOf(*tile.camera())); });
    return off;
  }();
  grid_.forEach([&](Tile& tile) {
    if (tile.camera() && recordings_.stateOf(*tile.camera()).has_value() != anyOff) {
      tile.toggleRecording();
    }
  });
}

void WallPane::snapshotAll() {
  grid_.forEach([](Tile& tile) {
    if (tile.camera() && tile.view() != nullptr) tile.snapshot();
  });
}

void WallPane::addKeys() {
  GtkEventController* const keys = gtk_event_controller_key_new();
  on<gboolean(GtkEventControllerKey*, guint, guint, GdkModifierType)>(
      keys, "key-pressed", [this](auto, guint key, auto, GdkModifierType modifiers) -> gboolean {
        return takeKey(key, modifiers) || takeTileKey(key, modifiers) ? TRUE : FALSE;
      });
  gtk_widget_add_controller(ui_.get("pane"), keys);
}

void WallPane::addSwipe() {
  GtkGesture* const swipe = gtk_gesture_swipe_new();
  gtk_gesture_single_set_touch_only(GTK_GESTURE_SINGLE(swipe), TRUE);
  on<void(GtkGestureSwipe*, gdouble, gdouble)>(
      swipe, "swipe", [this](auto, double across, double down) {
        constexpr double kFast = 300;  // points a second
        if (std::abs(across) > kFast && std::abs(across) > 2 * std::abs(down)) {
          step(across < 0 ? 1 : -1);
        }
      });
  gtk_widget_add_controller(ui_.get("scroller"), GTK_EVENT_CONTROLLER(swipe));
}

bool WallPane::takeKey(guint key, GdkModifierType modifiers) {
  if ((modifiers & (GDK_CONTROL_MASK | GDK_ALT_MASK)) != 0) return false;
  if (key == GDK_KEY_Page_Down || key == GDK_KEY_Page_Up) {
    step(key == GDK_KEY_Page_Down ? 1 : -1);
    return true;
  }
  if (key != GDK_KEY_Escape || !shown_.enlarged) return false;
  enlarge(std::nullopt);
  return true;
}

bool WallPane::takeTileKey(guint key, GdkModifierType modifiers) {
  const int index = grid_.focused();
  Tile* const tile = grid_.tile(index);
  const int held = modifiers & gtk_accelerator_get_default_mod_mask();
  if (tile == nullptr || !tile->camera() || (held & ~GDK_SHIFT_MASK) != 0) return false;
  switch (gdk_keyval_to_lower(key)) {
    case GDK_KEY_Return:
    case GDK_KEY_KP_Enter:
      enlarge(shown_.enlarged ? std::nullopt : std::optional<int>(index));
      return true;
    case GDK_KEY_r:
      held != 0 ? tile->toggleRecording() : tile->restart();
      return true;
    case GDK_KEY_s:
      tile->snapshot();
      return true;
    case GDK_KEY_Delete:
      remove(index);
      return true;
    case GDK_KEY_Menu:
      tile->showMenu();
      return true;
    default:
      return false;
  }
}

std::string WallPane::figures() {
  std::string tiles;
  grid_.forEach([&](Tile& tile) {
    if (tile.view() == nullptr) return;
    const LiveFigures figures = tile.view()->figures();
    tiles += fmt::format(
        "{}{{\"state\":\"{}\",\"received\":{},\"decoded\":{},\"shown\":{},\"first_picture\":{:.3f},"
        "\"lag\":{:.3f}}}",
        tiles.empty() ? "" : ",", nameOf(tile.view()->status().state), figures.received,
        figures.decoded, figures.shown, figures.firstPicture, figures.lag);
  });
  return fmt::format("\"drawn\":{},\"tiles\":[{}]", area_.drawn(), tiles);
}

}  // namespace quorvid::desk
