#include "apps/desk/wall/WallPane.h"

#include <utility>

namespace quorvid::desk {

namespace {

constexpr unsigned kTellEvery = 500;  // ms
constexpr int kAhead = 5;             // seconds that a page plays before it is shown

}  // namespace

WallPane::WallPane(Desk& desk, Recordings& recordings)
    : desk_(desk),
      recordings_(recordings),
      grid_(ui_.get<GtkGrid>("grid"), [this](int index) { return makeTile(index); }),
      area_({[this] { arrange(); }, [this] { grid_.playAll(*area_.host()); },
             [this] { grid_.stopAll(); }}),
      menu_(desk,
            {[this](const Layout& layout) { useLayout(layout); }, [this] { return shown_.layout; },
             [this] {
               useLayout({shown_.layout.columns, {}});
             }}) {
  gtk_overlay_set_child(ui_.get<GtkOverlay>("overlay"), area_.widget());
  gtk_overlay_set_measure_overlay(ui_.get<GtkOverlay>("overlay"), ui_.get("grid"), TRUE);
  desk_.serverChanged.add([this] { serverChanged(); });
  desk_.devicesChanged.add([this] { grid_.tellAll(); });
  desk_.cameraWanted.add([this](const Camera& camera) {
    shown_.add(camera, grid_.focused());
    show();
  });
  desk_.deviceWanted.add([this](const Device& device) { showDevice(device); });
  recordings_.changed.add([this] { grid_.tellAll(); });
  on<void(GtkButton*)>(ui_.get("previous"), "clicked", [this](auto) { step(-1); });
  on<void(GtkButton*)>(ui_.get("next"), "clicked", [this](auto) { step(1); });
  addKeys();
  addSwipe();
  timer_ = Source::every(kTellEvery, [this] { grid_.tellAll(); });
  grid_.show(shown_);
}

std::unique_ptr<Tile> WallPane::makeTile(int index) {
  TileCalls calls;
  calls.enlarge = [this, index] {
    enlarge(shown_.enlarged ? std::nullopt : std::optional<int>(index));
  };
  calls.remove = [this, index] {
    shown_.remove(index);
    show();
  };
  calls.drop = [this, index](const Camera& camera) {
    shown_.drop(index, camera);
    show();
  };
  // Alone, or one below the other, they leave a finger's way across to the swipe.
  calls.mayMove = [this] { return !shown_.narrow && !shown_.enlarged; };
  calls.turn = [this] { area_.turn(); };
  return std::make_unique<Tile>(desk_, recordings_, std::move(calls));
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
  shown_.use(layout);
  isKept_ = isKept;
  show();
}

// What is shown now is what comes back.
void WallPane::show() {
  grid_.show(shown_);
  const int pages = shown_.layout.pages();
  gtk_widget_set_visible(ui_.get("pages"), pages > 1 && pageSeconds_ == 0 ? TRUE : FALSE);
  gtk_label_set_text(ui_.get<GtkLabel>("page"), trf("{} of {}", shown_.page + 1, pages).c_str());
  if (isKept_ && desk_.server()) keep(desk_.server()->id);
  area_.turnSoon();
}

// Not for another page or an enlarged tile, which change nothing of it.
void WallPane::keep(const std::string& server) {
  if (desk_.settings().layout(server, Settings::kLast) == shown_.layout) return;
  desk_.settings().keepLayout(server, Settings::kLast, shown_.layout);
  desk_.tellTrouble();
}

void WallPane::setColumns(int columns) {
  shown_.setColumns(columns);
  show();
}

void WallPane::setNarrow(bool narrow) {
  GtkWidget* const scroller = ui_.get("scroller");
  narrow ? gtk_widget_add_css_class(scroller, "narrow")
         : gtk_widget_remove_css_class(scroller, "narrow");
  shown_.narrow = narrow;
  // Wide again, the wall is the user's own again.
  !narrow && !isKept_ && pageSeconds_ == 0 ? serverChanged() : show();
}

void WallPane::showDevice(const Device& device) {
  const int cameras = desk_.server() ? desk_.server()->cameras : 0;
  if (!shown_.narrow) {
    for (int channel = 0; channel < cameras; ++channel) shown_.add({device.id, channel});
    if (cameras > 1) shown_.add({device.id, 0});  // its page
    return show();
  }
  // In the hand it is a look at this one vehicle.
  Layout layout;
  layout.columns = cameras <= 4 ? 2 : 3;
  for (int channel = 0; channel < cameras; ++channel) {
    layout.tiles.emplace_back(Camera{device.id, channel});
  }
  useLayout(layout, false);
}

void WallPane::enlarge(std::optional<int> index) {
  const int from = shown_.enlarged.value_or(-1);
  shown_.enlarged = index;
  show();
  if (Tile* const tile = grid_.tile(index.value_or(from))) gtk_widget_grab_focus(tile->widget());
}

void WallPane::step(int by) {
  shown_.step(by);
  shown_.enlarged ? enlarge(shown_.enlarged) : show();
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
    show();
  } else if (pageAge_ >= pageSeconds_ - kAhead && !shown_.ahead) {
    shown_.ahead = next;
    show();
  }
}

void WallPane::arrange() {
  GtkAdjustment* const position =
      gtk_scrolled_window_get_vadjustment(ui_.get<GtkScrolledWindow>("scroller"));
  const double top = gtk_adjustment_get_value(position);
  grid_.place(area_.widget(), top, top + gtk_adjustment_get_page_size(position));
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
