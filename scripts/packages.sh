# The Debian packages that the project needs, by purpose. Sourced by setup.sh.
build_packages=(
  g++ cmake ninja-build pkg-config ca-certificates
  libsdl2-dev libwayland-dev libdecor-0-plugin-1-cairo libepoxy-dev libgles-dev libegl1 libegl-mesa0 libgl1-mesa-dri
  libavcodec-dev libavfilter-dev libavformat-dev libavutil-dev libswscale-dev libyuv-dev
  libpng-dev libcairo2-dev fonts-dejavu-core libasio-dev libcli11-dev libfmt-dev
  libutfcpp-dev nlohmann-json3-dev
)
test_packages=(googletest libgtest-dev libgmock-dev ffmpeg xvfb xauth libxtst-dev)
check_packages=(
  weston clang clang-format clang-tidy libclang-rt-dev llvm python3
  g++-i686-linux-gnu g++-arm-linux-gnueabihf g++-aarch64-linux-gnu qemu-user-static
)
