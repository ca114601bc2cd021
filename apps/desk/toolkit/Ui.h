// Ui: widgets of a .ui resource, signals as functions, texts in the user's language. Main thread.
#pragma once

#include <adwaita.h>
#include <fmt/format.h>
#include <glib/gi18n.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace quorvid::desk {

inline constexpr const char* kAppId = "example.quorvid.Desk";
inline constexpr const char* kResources = "/example/quorvid/Desk/";
inline constexpr const char* kTextDomain = "quorvid-desk";

// The text in the user's language.
inline const char* tr(const char* text) {
  return g_dgettext(kTextDomain, text);
}
// The same with values in the places of {}; one whose places were lost is shown in English.
template <class... Values>
std::string trf(const char* text, const Values&... values) {
  try {
    return fmt::format(fmt::runtime(tr(text)), values...);
  } catch (const fmt::format_error&) {
    return fmt::format(fmt::runtime(text), values...);
  }
}
// For a number of things: {} is the number.
inline std::string trn(const char* one, const char* several, std::size_t number) {
  const char* const text = g_dngettext(kTextDomain, one, several, number);
  try {
    return fmt::format(fmt::runtime(text), number);
  } catch (const fmt::format_error&) {
    return fmt::format(fmt::runtime(number == 1 ? one : several), number);
  }
}

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using ObjectPtr = std::unique_ptr<T, Unref>;
struct Free {
  void operator()(gpointer memory) const { g_free(memory); }
};
using TextPtr = std::unique_ptr<char, Free>;
struct FreeError {
  void operator()(GError* error) const { g_error_free(error); }
};
using ErrorPtr = std::unique_ptr<GError, FreeError>;

// Text of an allocated one, which goes; empty for null.
inline std::string taken(char* text) {
  const TextPtr owned(text);
  return owned == nullptr ? std::string() : std::string(owned.get());
}

// In the order of these keys "Truck 2" stands before "Truck 10".
inline std::string sortKey(const std::string& text) {
  return taken(g_utf8_collate_key_for_filename(text.c_str(), -1));
}

// Calls `function` when `instance` emits the signal, whose C signature without the closing pointer
// is `Signature`: on<void(GtkButton*)>(button, "clicked", [this](auto) { ... }).
template <class Signature>
struct SignalCall;
template <class Result, class... Arguments>
struct SignalCall<Result(Arguments...)> {
  using Function = std::function<Result(Arguments...)>;
  static Result call(Arguments... arguments, gpointer data) {
    // The handler may disconnect itself.
    const Function function = *static_cast<Function*>(data);
    return function(arguments...);
  }
  static void drop(gpointer data, GClosure*) {
    const std::unique_ptr<Function> owned(static_cast<Function*>(data));
  }
};
template <class Signature, class Function>
gulong on(gpointer instance, const char* signal, Function&& function) {
  using Call = SignalCall<Signature>;
  auto owned = std::make_unique<typename Call::Function>(std::forward<Function>(function));
  return g_signal_connect_data(instance, signal, G_CALLBACK(&Call::call), owned.release(),
                               &Call::drop, GConnectFlags{});
}

// For a window with a password's entry: libadwaita 1.2 looks at one that has gone when its text
// loses the keyboard with it. However the window goes, it is unmapped first.
inline void dropFocusAtEnd(GtkWindow* window) {
  on<void(GtkWidget*)>(window, "unmap", [](GtkWidget* unmapped) {
    gtk_window_set_focus(GTK_WINDOW(unmapped), nullptr);
  });
}

// What a .ui resource describes; keeps it. Ends the program, with a line, where an id is missing.
class Ui {
 public:
  // name: "Wall" for Wall.ui. The file names the texts' domain itself: a builder that is told it as
  // well frees it too early (GTK 4.8).
  explicit Ui(const std::string& name) {
    builder_.reset(gtk_builder_new());
    GError* error = nullptr;
    const std::string path = kResources + name + ".ui";
    if (gtk_builder_add_from_resource(builder_.get(), path.c_str(), &error) == 0) {
      g_error("%s: %s", path.c_str(), error->message);
    }
  }
  template <class T = GtkWidget>
  T* get(const char* id) const {
    GObject* const object = gtk_builder_get_object(builder_.get(), id);
    if (object == nullptr) g_error("no object called %s", id);
    return reinterpret_cast<T*>(object);
  }

 private:
  ObjectPtr<GtkBuilder> builder_;
};

// A source of the main loop that goes with its owner: a timer, an idle call, a watch.
class Source {
 public:
  Source() = default;
  explicit Source(guint id) : id_(id) {}
  Source(Source&& other) noexcept : id_(std::exchange(other.id_, 0)) {}
  Source& operator=(Source&& other) noexcept {
    if (this != &other) {
      stop();
      id_ = std::exchange(other.id_, 0);
    }
    return *this;
  }
  ~Source() { stop(); }
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  void stop() {
    if (id_ != 0) g_source_remove(std::exchange(id_, 0));
  }
  explicit operator bool() const { return id_ != 0; }

  // Calls `turn` again and again, until the Source goes.
  static Source every(unsigned milliseconds, std::function<void()> turn) {
    auto owned = std::make_unique<std::function<void()>>(std::move(turn));
    return Source(
        g_timeout_add_full(G_PRIORITY_DEFAULT, milliseconds, &call, owned.release(), &drop));
  }

 private:
  static gboolean call(gpointer data) {
    (*static_cast<std::function<void()>*>(data))();
    return G_SOURCE_CONTINUE;
  }
  static void drop(gpointer data) {
    const std::unique_ptr<std::function<void()>> owned(static_cast<std::function<void()>*>(data));
  }
  guint id_ = 0;
};

}  // namespace quorvid::desk
