# The Debian packages that the project needs, by purpose. Sourced by setup.sh.
build_packages=(
  g++ cmake ninja-build pkg-config ca-certificates
  libsdl2-dev libwayland-dev libdecor-0-plugin-1-cairo libepoxy-dev
  libgles-dev libegl1 libegl-mesa0 libgl1-mesa-dri
  libavcodec-dev libavfilter-dev libavformat-dev libavutil-dev libswscale-dev libyuv-dev
  libpng-dev libcairo2-dev fonts-dejavu-core libasio-dev libcli11-dev libfmt-dev
  libutfcpp-dev nlohmann-json3-dev
)
test_packages=(googletest libgtest-dev libgmock-dev ffmpeg xvfb xauth libxtst-dev)
# Toolkits whose examples are built and tested where they are there, and a Wayland compositor.
toolkit_packages=(libgtk-4-dev qt6-base-dev libqt6opengl6-dev qt6-wayland weston)
check_packages=(
  clang clang-format clang-tidy libclang-rt-dev llvm python3 abigail-tools
  g++-i686-linux-gnu g++-arm-linux-gnueabihf g++-aarch64-linux-gnu qemu-user-static
)
