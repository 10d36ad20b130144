// One picture file drawn with PLplot: the page opens on a temporary file
// beside the output (which also proves the folder writable before anything
// is drawn) and only Commit puts it in place, so a failure leaves no partial
// picture. The format follows the extension: .png, .svg or .pdf (PLplot's
// cairo drivers).
//
// PLplot keeps one current stream per process: one page at a time, on the
// client thread.
#pragma once

#include <string>

namespace velmar::cli {

// Colour map 0 as the pictures use it: paper, ink, grid, then the laps.
inline constexpr int kPaperColour = 0;
inline constexpr int kInkColour = 1;
inline constexpr int kGridColour = 2;
inline constexpr int kFirstLapColour = 3;
inline constexpr int kLapColourCount = 8;
// The colour of the n-th lap (from 0), the same in every panel.
inline int LapColour(size_t n) { return kFirstLapColour + static_cast<int>(n % kLapColourCount); }

class PlotPage {
 public:
  // Throws HostError naming `out` for an extension PLplot is not asked to
  // write, or a folder where the file cannot be made. Sizes in pixels (in
  // points for .svg and .pdf).
  PlotPage(std::string out, int width, int height);
  ~PlotPage();
  PlotPage(const PlotPage&) = delete;
  PlotPage& operator=(const PlotPage&) = delete;

  int width() const { return width_; }
  int height() const { return height_; }
  // Ends the page and renames the file over `out`. Throws HostError.
  void Commit();

 private:
  std::string out_;
  std::string temporary_;
  int width_;
  int height_;
  bool open_ = false;
};

// `text` with PLplot's escape character doubled, so "#4" prints as written.
std::string PlotText(const std::string& text);

}  // namespace velmar::cli
