# The Debian packages that the project needs, by purpose. Sourced by setup.sh.
build_packages=(
  g++ cmake ninja-build pkg-config ca-certificates
  libsdl2-dev libwayland-dev libdecor-0-plugin-1-cairo libepoxy-dev
  libgles-dev libegl1 libegl-mesa0 libgl1-mesa-dri
  libavcodec-dev libavfilter-dev libavformat-dev libavutil-dev libswscale-dev libyuv-dev
  libpng-dev libcairo2-dev fonts-dejavu-core libasio-dev libcli11-dev libfmt-dev
  libutfcpp-dev nlohmann-json3-dev
)
test_packages=(googletest libgtest-dev libgmock-dev libbenchmark-dev ffmpeg xvfb xauth libxtst-dev
  python3 python3-numpy libseccomp2 iproute2)
# Toolkits whose examples are built and tested where they are there, and a Wayland compositor.
toolkit_packages=(libgtk-4-dev qt6-base-dev libqt6opengl6-dev qt6-wayland weston)
# The application is built and tested where its toolkit is there: not by the README's two commands.
desk_packages=(libgtk-4-dev libadwaita-1-dev libsecret-1-dev libxml2-utils gettext
  adwaita-icon-theme librsvg2-common dbus-daemon
  xdotool xserver-xorg-core xserver-xorg-video-dummy at-spi2-core gir1.2-atspi-2.0 python3-gi)
# The GStreamer element is built and tested where these are there.
gstreamer_packages=(
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base
  gstreamer1.0-plugins-good gstreamer1.0-plugins-bad gstreamer1.0-libav gstreamer1.0-tools
)
check_packages=(
  clang clang-format clang-tidy cppcheck libclang-rt-dev llvm mypy abigail-tools
  gnuplot-nox doxygen mandoc man-db zsh fish dpkg-dev file lintian debootstrap tshark
  desktop-file-utils appstream
  g++-i686-linux-gnu g++-arm-linux-gnueabihf g++-aarch64-linux-gnu qemu-user-static
)
