#include "apps/quorvid/view/KeysPanel.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace quorvid::app {

namespace {

struct KeyUse {
  const char* key;
  const char* use;
};

constexpr KeyUse kKeys[] = {
    {"q", "quits"},
    {"r", "restarts the streams"},
    {"space", "pauses and goes on"},
    {"s", "writes the window as a PNG"},
    {"t", "writes the enlarged tile as a PNG, or else each tile"},
    {"f or F11", "full screen"},
    {"1 to 9 or a double click", "enlarge a tile and give it its place again"},
    {"Escape", "leaves this list, the enlarged tile, the full screen"},
    {"h or ?", "lists the keys"}};

constexpr double kLine = 16, kSecondColumn = 165, kMargin = 8;
constexpr double kWidth = 485, kHeight = kLine * std::size(kKeys) + 2 * kMargin;

std::vector<TextLine> lines() {
  std::vector<TextLine> lines;
  for (double top = kMargin; const KeyUse& key : kKeys) {
    lines.push_back({key.key, kMargin, top});
    lines.push_back({key.use, kSecondColumn, top});
    top += kLine;
  }
  return lines;
}

}  // namespace

std::string keysSentence() {
  std::string sentence = "keys: ";
  for (const KeyUse& key : kKeys) {
    if (&key != kKeys) sentence += "; ";
    sentence += std::string(key.key) + " " + key.use;
  }
  return sentence;
}

std::string keysTable() {
  std::string table = "Keys:\n";
  for (const KeyUse& key : kKeys) {
    table += fmt::format("  {:<26}{}\n", key.key, key.use);
  }
  return table;
}

void KeysPanel::show() {
  if (isShown()) return;
  panel_ = UIView::initWithFrame({});
  text_ = TextLayer::make(panel_);
  if (text_ == nullptr) return hide();
  raise();
  text_->show(lines());
}

void KeysPanel::hide() {
  if (!isShown()) return;
  panel_->removeFromSuperview();
  text_.reset();
  panel_.reset();
}

void KeysPanel::raise() {
  if (!isShown()) return;
  const CGSize area = content_->bounds().size;
  const CGFloat width = std::min<CGFloat>(kWidth, area.width);
  const CGFloat left = std::floor((area.width - width) / 2);
  const CGFloat top = std::max<CGFloat>(0, std::floor((area.height - kHeight) / 2));
  panel_->setFrame(CGRectMake(left, top, width, kHeight));
  text_->place(CGRectMake(0, 0, width, kHeight));
  content_->addSubview(panel_);
}

}  // namespace quorvid::app
