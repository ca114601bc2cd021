// quorvid-desk: live pictures from the cameras of vehicles, for desk, wall and phone.
#include "apps/desk/Application.h"

int main(int argc, char** argv) {
  return quorvid::desk::Application().run(argc, argv);
}
