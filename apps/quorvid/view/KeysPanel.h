// KeysPanel: the viewer's keys, in the middle of its window and as text. Main
// thread.
#pragma once

#include <memory>
#include <string>

#include "apps/quorvid/view/TextLayer.h"

namespace quorvid::app {

// "keys: q quits, r restarts..."
std::string keysSentence();
// A line for each, with a heading.
std::string keysTable();

class KeysPanel {
 public:
  // content: the window's. Without graphics nothing is ever shown.
  explicit KeysPanel(std::shared_ptr<UIView> content) : content_(std::move(content)) {}

  bool isShown() const { return panel_ != nullptr; }
  void show();
  void hide();
  // To be called when the window's size has changed or something was put on top of the panel.
  void raise();

 private:
  std::shared_ptr<UIView> content_;
  std::shared_ptr<UIView> panel_;
  std::unique_ptr<TextLayer> text_;
};

}  // namespace quorvid::app
