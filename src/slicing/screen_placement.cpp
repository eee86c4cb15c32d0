#include "slicing/screen_placement.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "runtime/number_text.h"
#include "slicing/slicing_error.h"

namespace stiltforge::slicing {

namespace {

// A model as large as the screen must not fail by the rounding of its coordinates.
constexpr double toleranceInPixels = 1e-3;

void requireFinite(double value, const char* what) {
  if (std::isfinite(value)) return;
  throw SlicingError(std::string("The ") + what + " is " + numberText(value) +
                     "; it must be a finite number of millimetres.");
}

// "129 pixels (4.515 mm) on the left", appended to the list.
void addExcess(std::string& list, double pixels, double pixelSize, const char* side) {
  if (pixels <= toleranceInPixels) return;
  if (!list.empty()) list += ", ";
  const double whole = std::ceil(pixels);
  list += numberText(whole) + (whole == 1 ? " pixel (" : " pixels (") +
          numberText(pixels * pixelSize) + " mm) " + side;
}

struct Interval {
  int first;
  int end;
};

Interval cropAxis(double low, double high, double margin, uint32_t screen) {
  const double first = std::floor(low + toleranceInPixels) - margin;
  // A box without extent still shows the pixel that it lies in.
  const double end = std::max(std::ceil(high - toleranceInPixels), std::floor(low) + 1) + margin;
  const double limit = screen;
  return {static_cast<int>(std::clamp(first, 0.0, limit - 1)),
          static_cast<int>(std::clamp(end, 1.0, limit))};
}

}  // namespace

ScreenPlacement::ScreenPlacement(const Bounds& model, const ScreenSettings& screen)
    : pixelSize(screen.pixelSize) {
  requirePositive(screen.pixelSize, "pixel size");
  requireFinite(screen.offsetX, "offset in x");
  requireFinite(screen.offsetY, "offset in y");
  if (screen.width == 0 || screen.height == 0 || screen.width > 0x7FFFFFFF ||
      screen.height > 0x7FFFFFFF) {
    throw SlicingError("The screen is " + std::to_string(screen.width) + " x " +
                       std::to_string(screen.height) +
                       " pixels; both sides must be between 1 and 2147483647.");
  }

  const double centreX = (static_cast<double>(model.min.x) + model.max.x) / 2;
  const double centreY = (static_cast<double>(model.min.y) + model.max.y) / 2;
  originX = centreX - screen.offsetX - screen.width * pixelSize / 2;
  originY = centreY - screen.offsetY + screen.height * pixelSize / 2;

  const double left = (model.min.x - originX) / pixelSize;
  const double right = (model.max.x - originX) / pixelSize;
  const double top = (originY - model.max.y) / pixelSize;
  const double bottom = (originY - model.min.y) / pixelSize;
  std::string excess;
  addExcess(excess, -left, pixelSize, "on the left");
  addExcess(excess, right - screen.width, pixelSize, "on the right");
  addExcess(excess, -top, pixelSize, "at the top");
  addExcess(excess, bottom - screen.height, pixelSize, "at the bottom");
  if (!excess.empty()) {
    throw SlicingError("The model does not fit on the screen: it is " +
                       numberText(static_cast<double>(model.max.x) - model.min.x) + " x " +
                       numberText(static_cast<double>(model.max.y) - model.min.y) +
                       " mm, the screen " + numberText(screen.width * pixelSize) + " x " +
                       numberText(screen.height * pixelSize) + " mm, and it stands out by " +
                       excess + ". Scale or turn it, or take a larger screen.");
  }

  const Interval columns = cropAxis(left, right, screen.margin, screen.width);
  const Interval rows = cropAxis(top, bottom, screen.margin, screen.height);
  cropX = columns.first;
  cropY = rows.first;
  width = columns.end - columns.first;
  height = rows.end - rows.first;
  if (width > longestCropSide || height > longestCropSide) {
    throw SlicingError("The model covers " + std::to_string(width) + " x " +
                       std::to_string(height) + " pixels of " + numberText(pixelSize) +
                       " mm with its margin; the limit is " + std::to_string(longestCropSide) +
                       " a side. Choose larger pixels or a smaller model.");
  }
}

}  // namespace stiltforge::slicing
