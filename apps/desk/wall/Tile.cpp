#include "apps/desk/wall/Tile.h"

#include <glib-unix.h>

#include "apps/desk/model/CameraText.h"
#include "apps/desk/wall/StateWords.h"
#include "apps/desk/wall/TileBox.h"

namespace quorvid::desk {

namespace {

struct Shape {
  const char* name;
  double shape;
};
constexpr Shape kShapes[] = {{"own", 0}, {"4:3", 4.0 / 3}, {"16:9", 16.0 / 9}, {"fill", -1}};

}  // namespace

Tile::Tile(Desk& desk, Recordings& recordings, TileCalls calls)
    : desk_(desk), recordings_(recordings), calls_(std::move(calls)) {
  box_.reset(static_cast<GtkWidget*>(g_object_ref_sink(makeTileBox(ui_.get("tile")))));
  options_.greyWhenStill = true;
  addActions();
  addDragging();
  GtkGesture* const click = gtk_gesture_click_new();
  on<void(GtkGestureClick*, gint, gdouble, gdouble)>(
      click, "pressed", [this](auto, auto, auto, auto) { gtk_widget_grab_focus(widget()); });
  // A tile that moved under a finger would never be told that the finger is up again.
  on<void(GtkGestureClick*, gint, gdouble, gdouble)>(click, "released",
                                                     [this](auto, gint times, auto, auto) {
                                                       if (times == 2 && camera_) calls_.enlarge();
                                                     });
  gtk_widget_add_controller(widget(), GTK_EVENT_CONTROLLER(click));
  GtkGesture* const press = gtk_gesture_click_new();
  gtk_gesture_single_set_button(GTK_GESTURE_SINGLE(press), GDK_BUTTON_SECONDARY);
  on<void(GtkGestureClick*, gint, gdouble, gdouble)>(
      press, "pressed", [this](auto, auto, auto, auto) { showMenu(); });
  gtk_widget_add_controller(widget(), GTK_EVENT_CONTROLLER(press));
  GtkGesture* const hold = gtk_gesture_long_press_new();
  gtk_gesture_single_set_touch_only(GTK_GESTURE_SINGLE(hold), TRUE);
  on<void(GtkGestureLongPress*, gdouble, gdouble)>(hold, "pressed",
                                                   [this](auto, auto, auto) { showMenu(); });
  gtk_widget_add_controller(widget(), GTK_EVENT_CONTROLLER(hold));
  tell();
}

void Tile::addActions() {
  const ObjectPtr<GSimpleActionGroup> group(g_simple_action_group_new());
  const auto add = [&](const char* name, const GVariantType* type, auto call) {
    const ObjectPtr<GSimpleAction> action(g_simple_action_new(name, type));
    on<void(GSimpleAction*, GVariant*)>(action.get(), "activate",
                                        [call](auto, GVariant* value) { call(value); });
    g_action_map_add_action(G_ACTION_MAP(group.get()), G_ACTION(action.get()));
  };
  add("enlarge", nullptr, [this](auto) { calls_.enlarge(); });
  add("restart", nullptr, [this](auto) { restart(); });
  add("snapshot", nullptr, [this](auto) { snapshot(); });
  add("record", nullptr, [this](auto) { toggleRecording(); });
  add("examine", nullptr, [this](auto) {
    if (camera_) desk_.diagnosisWanted.tell(Camera(*camera_));
  });
  add("remove", nullptr, [this](auto) { calls_.remove(); });
  add("shape", G_VARIANT_TYPE_STRING,
      [this](GVariant* value) { setShape(g_variant_get_string(value, nullptr)); });
  gtk_widget_insert_action_group(widget(), "tile", G_ACTION_GROUP(group.get()));
  // Made when it is wanted: a menu that comes before the actions that it names shows them as
  // impossible.
  const auto makeMenu = [](GtkMenuButton* button, gpointer model) {
    GtkWidget* const menu = gtk_popover_menu_new_from_model(static_cast<GMenuModel*>(model));
    gtk_menu_button_set_popover(button, menu);
  };
  gtk_menu_button_set_create_popup_func(ui_.get<GtkMenuButton>("more"), makeMenu,
                                        ui_.get<GMenuModel>("menu"), nullptr);
}

void Tile::addDragging() {
  GtkDropTarget* const target = gtk_drop_target_new(G_TYPE_STRING, GDK_ACTION_COPY);
  on<gboolean(GtkDropTarget*, const GValue*, gdouble, gdouble)>(
      target, "drop", [this](auto, const GValue* value, auto, auto) -> gboolean {
        const char* const text = g_value_get_string(value);
        const auto camera = cameraOf(text == nullptr ? "" : text);
        if (camera) calls_.drop(*camera);
        return camera ? TRUE : FALSE;
      });
  gtk_widget_add_controller(widget(), GTK_EVENT_CONTROLLER(target));
  GtkDragSource* const source = gtk_drag_source_new();
  on<GdkContentProvider*(GtkDragSource*, gdouble, gdouble)>(
      source, "prepare", [this](auto, auto, auto) -> GdkContentProvider* {
        if (!camera_ || !calls_.mayMove()) return nullptr;
        return gdk_content_provider_new_typed(G_TYPE_STRING, textOf(*camera_).c_str());
      });
  gtk_widget_add_controller(widget(), GTK_EVENT_CONTROLLER(source));
}

void Tile::show(const std::optional<Camera>& camera) {
  if (camera == camera_) return;
  stop();
  camera_ = camera;
  options_.shape = 0;
  tell();
}

void Tile::play(ViewHost& host) {
  if (!camera_ || view_ != nullptr || !desk_.server()) return;
  view_ = LiveView::initWithFrame(frame_, options_);
  if (view_ == nullptr) return;
  root_ = host.contentView();
  place(frame_, seen_);
  view_->setStatusHandler([this](const LiveStatus&) { tell(); });
  view_->connect(desk_.target(*camera_));
  // Behind GTK's own drawing, which many pictures would hold up otherwise.
  const auto wake = [](gint, GIOCondition, gpointer tile) -> gboolean {
    static_cast<Tile*>(tile)->calls_.turn();
    return G_SOURCE_CONTINUE;
  };
  if (view_->descriptor() >= 0) {
    watch_ = Source(g_unix_fd_add_full(GDK_PRIORITY_REDRAW + 10, view_->descriptor(), G_IO_IN, wake,
                                       this, nullptr));
  }
  tell();
}

void Tile::stop() {
  watch_.stop();  // before its descriptor
  if (view_ == nullptr) return;
  view_->setStatusHandler(nullptr);
  if (view_->superview() != nullptr) view_->removeFromSuperview();
  view_.reset();
  root_.reset();
}

// What is not seen stands in no tree: its last picture would be drawn where it stood.
void Tile::place(const CGRect& frame, bool seen) {
  frame_ = frame;
  seen_ = seen;
  if (view_ == nullptr) return;
  view_->setFrame(frame);
  if (seen && view_->superview() == nullptr) root_->addSubview(view_);
  if (!seen && view_->superview() != nullptr) view_->removeFromSuperview();
  if (view_->isVisible() != seen) view_->setVisible(seen);
}

void Tile::restart() {
  if (view_ != nullptr) view_->restart();
}

void Tile::snapshot() {
  if (!camera_) return;
  auto picture = view_ == nullptr ? std::nullopt : view_->snapshot();
  if (!picture) return desk_.said.tell(tr("There is no picture yet"));
  recordings_.saveSnapshot(*camera_, std::move(*picture));
}

void Tile::toggleRecording() {
  if (!camera_) return;
  recordings_.stateOf(*camera_) ? recordings_.end(*camera_) : recordings_.begin(*camera_);
  tell();
}

void Tile::showMenu() {
  if (camera_) gtk_menu_button_popup(ui_.get<GtkMenuButton>("more"));
}

void Tile::setShape(const std::string& name) {
  for (const Shape& shape : kShapes) {
    if (name == shape.name) options_.shape = shape.shape;
  }
  if (view_ != nullptr) view_->setOptions(options_);
}

// A label that is given the text that it has is drawn anew all the same.
void Tile::setText(const char* id, const std::string& text) {
  GtkLabel* const label = ui_.get<GtkLabel>(id);
  if (text != gtk_label_get_text(label)) gtk_label_set_text(label, text.c_str());
}

void Tile::tell() {
  const LiveStatus status = view_ == nullptr ? LiveStatus() : view_->status();
  const bool plays = view_ != nullptr && status.state != LiveState::Idle;
  const bool tells = plays && status.state != LiveState::Live;
  gtk_widget_set_visible(ui_.get("empty"), camera_ ? FALSE : TRUE);
  camera_ ? gtk_widget_add_css_class(widget(), "taken")
          : gtk_widget_remove_css_class(widget(), "taken");
  gtk_widget_set_visible(ui_.get("caption"), camera_ ? TRUE : FALSE);
  gtk_widget_set_visible(ui_.get("still"), tells ? TRUE : FALSE);
  std::string words;
  if (camera_) {
    words = desk_.titleOf(*camera_);
    setText("name", desk_.shortTitleOf(*camera_));
    setText("figures", plays && !isStill(status.state) ? figuresText(view_->figures()) : "");
    const auto recording = recordings_.stateOf(*camera_);
    gtk_widget_set_visible(ui_.get("dot"), recording ? TRUE : FALSE);
    if (recording) setText("dot", "● " + clockText(recording->seconds));
    setText("state", stateWord(status.state));
    setText("reason", reasonSentence(status));
    words +=
        ": " + stateWord(status.state) + (recording ? std::string(", ") + tr("recording") : "");
  } else {
    words = tr("Empty tile");
  }
  const bool stalled = plays && isStill(status.state);
  stalled ? gtk_widget_add_css_class(widget(), "stalled")
          : gtk_widget_remove_css_class(widget(), "stalled");
  if (words == told_) return;
  gtk_widget_set_tooltip_text(ui_.get("name"), words.c_str());
  told_ = words;
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 words.c_str(), -1);
}

}  // namespace quorvid::desk
