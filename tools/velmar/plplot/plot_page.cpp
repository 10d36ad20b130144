#include "plot_page.h"

#include <plplot.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "host_error.h"

namespace velmar::cli {
namespace {

struct Rgb {
  int r, g, b;
};

// Paper, ink, grid, then eight lap colours that stay apart for most colour
// vision and print in grey as different shades.
constexpr std::array<Rgb, kFirstLapColour + kLapColourCount> kPalette = {{
    {255, 255, 255}, {30, 30, 30}, {215, 215, 215},
    {214, 39, 40}, {31, 119, 180}, {44, 160, 44}, {255, 127, 14},
    {148, 103, 189}, {140, 86, 75}, {227, 119, 194}, {23, 190, 207},
}};

const char* DeviceFor(const std::filesystem::path& out) {
  const std::string extension = out.extension().string();
  if (extension == ".png") return "pngcairo";
  if (extension == ".svg") return "svgcairo";
  if (extension == ".pdf") return "pdfcairo";
  return nullptr;
}

// PLplot ends the process on a failure of its own; the temporary file goes first.
std::string gTemporary;
int RemoveTemporary(const char* message) {
  if (!gTemporary.empty()) std::remove(gTemporary.c_str());
  std::fprintf(stderr, "velmar: the plotting library failed: %s\n", message ? message : "");
  return 1;
}

}  // namespace

PlotPage::PlotPage(std::string out, int width, int height) : out_(std::move(out)), width_(width), height_(height) {
  const char* device = DeviceFor(out_);
  if (!device) Fail(out_, "the picture must end in .png, .svg or .pdf");
  if (width_ < 100 || height_ < 100 || width_ > 20000 || height_ > 20000) {
    Fail(out_, "a picture is 100 to 20000 pixels each way");
  }
  std::string pattern = out_ + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = mkstemp(name.data());
  if (fd < 0) Fail(out_, std::string("cannot write the picture: ") + std::strerror(errno));
  // mkstemp makes the file private; the picture gets what any new file would.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  (void)::fchmod(fd, 0666 & ~mask);
  ::close(fd);
  temporary_ = name.data();
  gTemporary = temporary_;
  plsexit(RemoveTemporary);
  plsdev(device);
  plsfnam(temporary_.c_str());
  plspage(0, 0, width_, height_, 0, 0);
  for (size_t i = 0; i < kPalette.size(); ++i) plscol0(static_cast<PLINT>(i), kPalette[i].r, kPalette[i].g, kPalette[i].b);
  plinit();
  open_ = true;
  pladv(0);
}

PlotPage::~PlotPage() {
  if (open_) plend();
  if (!temporary_.empty()) std::remove(temporary_.c_str());
  gTemporary.clear();
}

void PlotPage::Commit() {
  plend();
  open_ = false;
  std::error_code error;
  if (std::filesystem::file_size(temporary_, error) == 0 || error) Fail(out_, "the plotting library wrote nothing");
  std::filesystem::rename(temporary_, out_, error);
  if (error) Fail(out_, "cannot put the picture in place: " + error.message());
  temporary_.clear();
}

std::string PlotText(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    escaped += c;
    if (c == '#') escaped += '#';
  }
  return escaped;
}

}  // namespace velmar::cli
