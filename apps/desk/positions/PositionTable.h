// PositionTable: a table of records, changed in place; a cell that changed is marked for two
// seconds. Main thread.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "apps/desk/toolkit/Ui.h"
#include "quorvid/connection/VehicleConnection.h"

namespace quorvid::desk {

class PositionTable {
 public:
  static constexpr std::size_t kColumns = 7;

  explicit PositionTable(GtkScrolledWindow* place);
  ~PositionTable();
  PositionTable(const PositionTable&) = delete;
  PositionTable& operator=(const PositionTable&) = delete;

  // Records of the same identifier keep their rows. The order and what is in view stay.
  void show(const std::vector<DevInfoItem>& records);
  void clear();
  bool isEmpty() const { return rows_.empty(); }

 private:
  struct Row;
  struct Cell {
    GtkLabel* label;
    const Row* row;
    std::size_t column;
  };

  void addColumn(std::size_t column);
  void add(const std::string& key, const DevInfoItem& record);
  void dropUnseen();
  static bool fill(const Cell& cell);
  void bind(GtkListItem* item, const Cell& cell);
  void remark();

  GtkScrolledWindow* place_;
  ObjectPtr<GListStore> store_;
  ObjectPtr<GtkColumnView> view_;
  std::unordered_map<std::string, std::unique_ptr<Row>> rows_;
  std::unordered_map<GtkListItem*, Cell> cells_;  // those that stand in the window
  Source marks_;
};

}  // namespace quorvid::desk
