// Four live views in a QOpenGLWidget of Qt 6: embed_qt HOST PORT DEVICE [SECONDS]
//
// Shows channels 0 to 3 of the device, each with its state written over it. With SECONDS it ends by
// itself, with status 0 if every view showed a picture.
#include <QApplication>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPainter>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"

namespace {

constexpr int kChannels = 4;
constexpr double kGap = 4;  // points around each picture

struct Tile {
  std::shared_ptr<quorvid::LiveView> view;
  std::unique_ptr<QSocketNotifier> notifier;  // goes before the view, whose descriptor it watches
  QString text;
};

class Tiles : public QOpenGLWidget {
 public:
  explicit Tiles(quorvid::LiveTarget target) : target_(std::move(target)) {
    resize(652, 492);
    // A stream that went silent wakes nobody.
    connect(&timer_, &QTimer::timeout, this, [this] { turn(); });
    timer_.start(250);
  }
  ~Tiles() override {
    makeCurrent();
    host_->release();
    doneCurrent();
  }
  bool allShown() const {
    std::size_t shown = 0;
    for (const Tile& tile : tiles_) shown += tile.view->figures().shown > 0 ? 1 : 0;
    return shown == kChannels;
  }

 protected:
  // Here, because the views can share what they draw with a context that is current.
  void initializeGL() override {
    if (!tiles_.empty()) return;  // the widget moved to another window
    host_->useCurrentDisplay();
    tiles_.resize(kChannels);
    for (int channel = 0; channel < kChannels; ++channel) addView(tiles_[channel], channel);
  }
  void paintGL() override {
    const QSize pixels = size() * devicePixelRatioF();
    host_->resize(width(), height(), devicePixelRatioF());
    for (int channel = 0; channel < kChannels; ++channel) {
      const QRectF at = place(channel);
      tiles_[channel].view->setFrame(quorvid::CGRectMake(at.x(), at.y(), at.width(), at.height()));
    }
    host_->refresh();
    QOpenGLFunctions* gl = context()->functions();
    gl->glClearColor(0.1F, 0.2F, 0.35F, 1);
    gl->glClear(GL_COLOR_BUFFER_BIT);
    std::string why;
    host_->composite(0, 0, pixels.width(), pixels.height(), &why);
    drawTexts(QString::fromStdString(why));
  }
  void showEvent(QShowEvent*) override { setVisibleToUser(true); }
  void hideEvent(QHideEvent*) override { setVisibleToUser(false); }  // also when minimised

 private:
  void addView(Tile& tile, int channel) {
    tile.view = quorvid::LiveView::initWithFrame(quorvid::CGRectMake(0, 0, 320, 240));
    if (tile.view == nullptr) qFatal("A live view can't be made.");
    host_->contentView()->addSubview(tile.view);
    tile.view->setStatusHandler([this, &tile, channel](const quorvid::LiveStatus& status) {
      tile.text = QString("Channel %1: %2").arg(channel).arg(nameOf(status.state));
      if (!status.sentence.empty()) tile.text += ", " + QString::fromStdString(status.sentence);
      update();
    });
    tile.notifier =
        std::make_unique<QSocketNotifier>(tile.view->descriptor(), QSocketNotifier::Read);
    connect(tile.notifier.get(), &QSocketNotifier::activated, this, [this] { turn(); });
    target_.channel = channel;
    tile.view->connect(target_);
  }
  void turn() {
    host_->refresh();
    if (host_->needsComposite()) update();
  }
  QRectF place(int channel) const {
    const double across = (width() - 3 * kGap) / 2;
    const double down = (height() - 3 * kGap) / 2;
    const double x = kGap + (channel % 2) * (across + kGap);
    const double y = kGap + (channel > 1 ? down + kGap : 0);
    return {x, y, across, down};
  }
  void drawTexts(const QString& why) {
    QPainter painter(this);
    painter.setPen(Qt::white);
    for (int channel = 0; channel < kChannels; ++channel) {
      QRectF line = place(channel);
      line.setHeight(painter.fontMetrics().height() + 6);
      painter.fillRect(line, QColor(0, 0, 0, 160));
      painter.drawText(line.adjusted(6, 0, -6, 0), Qt::AlignVCenter, tiles_[channel].text);
    }
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, why);
  }
  void setVisibleToUser(bool visible) {
    for (const Tile& tile : tiles_) tile.view->setVisible(visible);
  }

  quorvid::LiveTarget target_;
  std::unique_ptr<quorvid::ViewHost> host_ = quorvid::ViewHost::create();
  std::vector<Tile> tiles_;
  QTimer timer_;
};

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  if (argc < 4) return std::fputs("usage: embed_qt HOST PORT DEVICE [SECONDS]\n", stderr), 2;
  quorvid::LiveTarget target;
  target.host = argv[1];
  target.port = std::atoi(argv[2]);
  target.device = argv[3];
  Tiles tiles(target);
  tiles.show();
  if (argc > 4) QTimer::singleShot(std::atoi(argv[4]) * 1000, &app, &QApplication::quit);
  QApplication::exec();
  return tiles.allShown() ? 0 : 1;
}
