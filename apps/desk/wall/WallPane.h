// WallPane: the wall of live cameras: its layout, pages, keys, and how cameras come into its tiles.
// Main thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/Recordings.h"
#include "apps/desk/toolkit/Ui.h"
#include "apps/desk/wall/LayoutMenu.h"
#include "apps/desk/wall/TileGrid.h"
#include "apps/desk/wall/WallArea.h"

namespace quorvid::desk {

class WallPane {
 public:
  WallPane(Desk& desk, Recordings& recordings);
  GtkWidget* widget() const { return ui_.get("pane"); }
  GtkWidget* layoutButton() const { return menu_.widget(); }

  void setColumns(int columns);
  // One camera below the other, each as wide as the wall.
  void setNarrow(bool narrow);
  void recordAll();
  void snapshotAll();
  // Shows the layout of that name and turns its pages so often. False where there is none.
  bool beginKiosk(const std::string& layout, int pageSeconds);

  // Drawings of the wall and what each view has counted, as members of a JSON object.
  std::string figures();

 private:
  void serverChanged();
  void useLayout(const Layout& layout, bool isKept = true);
  void showDevice(const Device& device);
  void enlarge(std::optional<int> index);
  void step(int by);
  void turnPage();
  void show();
  void keep(const std::string& server);
  void arrange();
  std::unique_ptr<Tile> makeTile(int index);
  void addKeys();
  void addSwipe();
  bool takeKey(guint key, GdkModifierType modifiers);
  bool takeTileKey(guint key, GdkModifierType modifiers);

  Desk& desk_;
  Recordings& recordings_;
  Ui ui_{"WallPane"};
  TileGrid grid_;
  WallArea area_;
  LayoutMenu menu_;
  WallState shown_;
  bool isKept_ = true;  // the layout is the user's own and comes back at the next start
  Source timer_;        // of the texts
  Source pages_;        // of a kiosk
  int pageSeconds_ = 0;
  int pageAge_ = 0;  // seconds
};

}  // namespace quorvid::desk
