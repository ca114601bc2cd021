#include "bench/StreamMeter.h"

#include <algorithm>
#include <cmath>

namespace quorvid::bench {
namespace {

constexpr double kEndSeconds = 5;  // the length of the first and of the last part

double inMs(double seconds) {
  return std::round(seconds * 1e5) / 100;
}

// part: 0 the least, 1 the most.
double quantile(std::vector<double> values, double part) {
  if (values.empty()) return -1;
  const auto at = values.begin() + std::lround(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return inMs(*at);
}

}  // namespace

void StreamMeter::begin() {
  before_ = view_->figures();
  samples_.clear();
}

void StreamMeter::sample(double now) {
  const LiveFigures figures = view_->figures();
  if (figures.lag < 0) return;
  samples_.push_back({now, figures.lag, figures.lag + figures.sinceLastPicture,
                      view_->status().state == LiveState::Late});
}

nlohmann::json StreamMeter::results() const {
  const LiveFigures figures = view_->figures();
  std::vector<double> lags, behind, first, last;
  std::size_t late = 0;
  const double end = samples_.empty() ? 0 : samples_.back().time;
  for (const Sample& sample : samples_) {
    lags.push_back(sample.lag);
    behind.push_back(sample.behind);
    if (sample.time < kEndSeconds) first.push_back(sample.lag);
    if (sample.time > end - kEndSeconds) last.push_back(sample.lag);
    if (sample.isLate) ++late;
  }
  return {{"received", figures.received - before_.received},
          {"decoded", figures.decoded - before_.decoded},
          {"converted", figures.converted - before_.converted},
          {"shown", figures.shown - before_.shown},
          {"overwritten", figures.overwritten - before_.overwritten},
          {"lost", figures.lost - before_.lost},
          {"held", figures.held - before_.held},
          {"restarts", figures.restarts},
          {"state", nameOf(view_->status().state)},
          {"lateSamples", late},
          {"samples", samples_.size()},
          {"lagMs",
           {{"median", quantile(lags, 0.5)},
            {"p95", quantile(lags, 0.95)},
            {"max", quantile(lags, 1)},
            {"firstMedian", quantile(first, 0.5)},
            {"lastMedian", quantile(last, 0.5)}}},
          {"behindMs", {{"median", quantile(behind, 0.5)}, {"max", quantile(behind, 1)}}}};
}

}  // namespace quorvid::bench
