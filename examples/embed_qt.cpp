// Four live views in a QOpenGLWidget of Qt 6: embed_qt HOST PORT DEVICE [SECONDS]
//
// Shows channels 0 to 3 of the device, each with its state written over it. With SECONDS it ends by
// itself, with status 0 if every view showed a picture.
#include <QApplication>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPainter>
#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <iostream>
#include <memory>

#include "four_views.h"

namespace {

class Tiles : public QOpenGLWidget {
 public:
  explicit Tiles(quorvid::LiveTarget target) : target_(std::move(target)) {
    resize(652, 492);
    // A stream that went silent wakes nobody.
    connect(&timer_, &QTimer::timeout, this, [this] { turn(); });
    timer_.start(250);
  }
  ~Tiles() override { stop(); }

  int stop() {
    for (auto& notifier : notifiers_) notifier.reset();
    makeCurrent();
    views_.stop();
    doneCurrent();
    return views_.status();
  }

 protected:
  void initializeGL() override {
    if (notifiers_[0] != nullptr) return;  // the widget moved to another window
    if (!views_.play(target_, [this](int) { update(); })) qFatal("A live view can't be made.");
    for (std::size_t i = 0; i < notifiers_.size(); ++i) {
      notifiers_[i] = std::make_unique<QSocketNotifier>(views_.tiles[i].view->descriptor(),
                                                        QSocketNotifier::Read);
      connect(notifiers_[i].get(), &QSocketNotifier::activated, this, [this] { turn(); });
    }
  }
  void paintGL() override {
    const QSize pixels = size() * devicePixelRatioF();
    views_.place(width(), height(), devicePixelRatioF());
    views_.host->refresh();
    QOpenGLFunctions* gl = context()->functions();
    gl->glClearColor(0.1F, 0.2F, 0.35F, 1);
    gl->glClear(GL_COLOR_BUFFER_BIT);
    std::string why;
    views_.host->composite(0, 0, pixels.width(), pixels.height(), &why);
    drawTexts(QString::fromStdString(why));
  }
  void showEvent(QShowEvent*) override { views_.host->setVisible(true); }
  void hideEvent(QHideEvent*) override { views_.host->setVisible(false); }  // also when minimised

 private:
  void turn() {
    views_.host->refresh();
    if (views_.host->needsComposite()) update();
  }
  void drawTexts(const QString& why) {
    QPainter painter(this);
    painter.setPen(Qt::white);
    for (const FourViews::Tile& tile : views_.tiles) {
      const quorvid::CGRect& place = tile.place;
      const double height = painter.fontMetrics().height() + 6;
      const QRectF line(place.origin.x, place.origin.y, place.size.width, height);
      painter.fillRect(line, QColor(0, 0, 0, 160));
      painter.drawText(line.adjusted(6, 0, -6, 0), Qt::AlignVCenter,
                       QString::fromStdString(tile.text));
    }
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, why);
  }

  quorvid::LiveTarget target_;
  FourViews views_;
  std::array<std::unique_ptr<QSocketNotifier>, 4> notifiers_;  // go before the views
  QTimer timer_;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  Arguments arguments;
  if (!parse(argc, argv, arguments)) return 2;
  if (!QOpenGLContext().create()) return std::cerr << "embed_qt: there is no OpenGL here\n", 1;
  Tiles tiles(arguments.target);
  tiles.show();
  const auto quit = &QApplication::quit;
  if (arguments.seconds > 0) QTimer::singleShot(arguments.seconds * 1000, &app, quit);
  QApplication::exec();
  return tiles.stop();
}
