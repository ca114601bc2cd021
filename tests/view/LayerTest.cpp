#include <gtest/gtest.h>

#include "quorvid/view/View.h"

namespace quorvid {
namespace {

TEST(View, TakingAViewElsewhereTakesItsLayerAlong) {
  const auto left = UIView::initWithFrame(CGRectMake(0, 0, 10, 10));
  const auto right = UIView::initWithFrame(CGRectMake(10, 0, 10, 10));
  const auto tile = UIView::initWithFrame(CGRectMake(1, 2, 3, 4));
  left->addSubview(tile);
  right->addSubview(tile);
  EXPECT_TRUE(left->subviews().empty());
  EXPECT_TRUE(left->layer()->sublayers().empty());
  EXPECT_EQ(tile->superview(), right);
  EXPECT_EQ(tile->layer()->superlayer(), right->layer());
  tile->removeFromSuperview();
  tile->removeFromSuperview();
  EXPECT_TRUE(right->layer()->sublayers().empty());
  EXPECT_EQ(tile->bounds().origin.x, 0);
  EXPECT_EQ(tile->bounds().size.height, 4);
}

TEST(Layer, CyclesAreRefusedAndOrderIsTopmostLast) {
  const auto root = std::make_shared<CALayer>();
  const auto child = std::make_shared<CALayer>();
  const auto other = std::make_shared<CALayer>();
  root->addSublayer(child);
  root->addSublayer(other);
  child->addSublayer(root);
  child->addSublayer(child);
  child->addSublayer(nullptr);
  EXPECT_TRUE(child->sublayers().empty());
  EXPECT_EQ(root->superlayer(), nullptr);
  root->addSublayer(root->sublayers().front());  // back on top
  ASSERT_EQ(root->sublayers().size(), 2U);
  EXPECT_EQ(root->sublayers().back(), child);
}

TEST(Geometry, FitsTheShapeIntoTheBounds) {
  const CGRect wide = AVMakeRectWithAspectRatioInsideRect({1280, 960}, CGRectMake(5, 7, 320, 480));
  EXPECT_DOUBLE_EQ(wide.origin.x, 5);
  EXPECT_DOUBLE_EQ(wide.origin.y, 127);
  EXPECT_DOUBLE_EQ(wide.size.width, 320);
  EXPECT_DOUBLE_EQ(wide.size.height, 240);
  const CGRect none = AVMakeRectWithAspectRatioInsideRect({0, 960}, CGRectMake(0, 0, 320, 480));
  EXPECT_EQ(none.size.width, 0);
  EXPECT_DOUBLE_EQ(none.origin.y, 240);
}

}  // namespace
}  // namespace quorvid
