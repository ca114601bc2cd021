// UIView: a rectangle on screen with a layer of its own and subviews; main thread.
//
// A view owns its subviews and its layer. Its frame is in its superview's points.
#pragma once

#include <memory>
#include <vector>

#include "quorvid/base/Color.h"
#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"
#include "quorvid/view/Layer.h"

namespace quorvid {

class QUORVID_API UIView : public std::enable_shared_from_this<UIView> {
 public:
  // A plain view, for containers and decoration. Never null.
  static std::shared_ptr<UIView> initWithFrame(CGRect frame);
  virtual ~UIView();
  UIView(const UIView&) = delete;
  UIView& operator=(const UIView&) = delete;

  CGRect frame() const;
  void setFrame(CGRect frame);
  CGRect bounds() const;
  void setBackgroundColor(const UIColor& color);
  const std::shared_ptr<CALayer>& layer() const { return layer_; }

  // Puts a view on top of the others, taking it from its former superview. Null, the view itself
  // and its own ancestors are ignored.
  void addSubview(const std::shared_ptr<UIView>& view);
  // No effect when not attached.
  void removeFromSuperview();
  std::shared_ptr<UIView> superview() const { return superview_.lock(); }
  const std::vector<std::shared_ptr<UIView>>& subviews() const { return subviews_; }

 protected:
  explicit UIView(CGRect frame);
  // What the ViewHost that has the view in its tree was told last; true without one.
  bool isWindowVisible() const;
  // Called when that host was told something else.
  virtual void windowVisibilityChanged() {}

 private:
  friend class ViewHost;
  QUORVID_LOCAL void setWindowVisible(bool visible);  // of a host's content view
  QUORVID_LOCAL void tellWindowVisibility();

  bool windowVisible_ = true;  // of a root
  std::shared_ptr<CALayer> layer_;
  std::weak_ptr<UIView> superview_;
  std::vector<std::shared_ptr<UIView>> subviews_;
};

}  // namespace quorvid
