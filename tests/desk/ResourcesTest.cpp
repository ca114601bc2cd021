#include <gtest/gtest.h>

#include <cstdlib>

#include "apps/desk/toolkit/Ui.h"
#include "view/XvfbScreen.h"

namespace quorvid::desk {

namespace {

// Every file of a window is one that this version of the toolkit understands: the program itself
// finds out when it is asked for the window, and ends.
TEST(DeskResources, AreUnderstoodByTheToolkit) {
  const test::XvfbScreen screen(640, 480);
  if (screen.name().empty()) {
    ASSERT_EQ(getenv("QUORVID_TEST_REQUIRE_DISPLAY"), nullptr) << "Xvfb does not start";
    GTEST_SKIP() << "Xvfb is not there (package xvfb)";
  }
  setenv("DISPLAY", screen.name().c_str(), 1);
  setenv("GDK_BACKEND", "x11", 1);
  setenv("GSETTINGS_BACKEND", "memory", 1);
  setenv("GTK_A11Y", "none", 1);
  ASSERT_TRUE(gtk_init_check());
  adw_init();
  int files = 0;
  char** const names =
      g_resources_enumerate_children(kResources, G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
  ASSERT_NE(names, nullptr);
  for (char** name = names; *name != nullptr; ++name) {
    if (g_str_has_suffix(*name, ".ui") == 0) continue;
    const ObjectPtr<GtkBuilder> builder(gtk_builder_new());
    GError* failed = nullptr;
    gtk_builder_add_from_resource(builder.get(), (std::string(kResources) + *name).c_str(),
                                  &failed);
    EXPECT_EQ(failed, nullptr) << *name << ": " << failed->message;
    g_clear_error(&failed);
    ++files;
  }
  g_strfreev(names);
  EXPECT_GT(files, 5);
  GtkIconTheme* const icons = gtk_icon_theme_get_for_display(gdk_display_get_default());
  gtk_icon_theme_add_resource_path(icons, (std::string(kResources) + "icons").c_str());
  EXPECT_TRUE(gtk_icon_theme_has_icon(icons, kAppId));
}

}  // namespace

}  // namespace quorvid::desk
