// Icons painted from their shape at the screen's resolution.
#include "toolkit/icon.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "toolkit/dsply.h"
#include "toolkit/pfld.h"
#include "toolkit/rclas.h"

namespace {

constexpr int kMaxPixels = 1024;
// Samples per pixel side: 4 x 4 gives 17 levels of edge coverage.
constexpr int kSamples = 4;
constexpr int kMaxCachedPictures = 64;

struct Pt {
  double x, y;
};

double segmentDistance(Pt p, Pt a, Pt b) {
  double dx = b.x - a.x, dy = b.y - a.y;
  double len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2 : 0;
  t = std::clamp(t, 0.0, 1.0);
  double ex = a.x + t * dx - p.x, ey = a.y + t * dy - p.y;
  return std::sqrt(ex * ex + ey * ey);
}

bool insidePolygon(Pt p, const std::vector<Pt>& poly) {
  bool in = false;
  for (size_t i = 0, j = poly.size() - 1; i < poly.size(); j = i++) {
    if ((poly[i].y > p.y) != (poly[j].y > p.y) &&
        p.x < (poly[j].x - poly[i].x) * (p.y - poly[i].y) / (poly[j].y - poly[i].y) + poly[i].x)
      in = !in;
  }
  return in;
}

bool insideRoundRect(Pt p, double x, double y, double w, double h, double r) {
  if (p.x < x || p.y < y || p.x > x + w || p.y > y + h) return false;
  r = std::min({r, w / 2, h / 2});
  if (r <= 0) return true;
  double cx = std::clamp(p.x, x + r, x + w - r), cy = std::clamp(p.y, y + r, y + h - r);
  double dx = p.x - cx, dy = p.y - cy;
  return dx * dx + dy * dy <= r * r;
}

// Angle of a point about a centre: degrees, 0 at the top, clockwise.
double clockAngle(Pt p, Pt c) {
  double a = std::atan2(p.x - c.x, c.y - p.y) * 180.0 / M_PI;
  return a < 0 ? a + 360 : a;
}

bool insideArc(Pt p, double w, Pt c, double r, double a0, double a1) {
  if (a1 < a0) std::swap(a0, a1);
  auto at = [&](double a) {
    double rad = a * M_PI / 180.0;
    return Pt{c.x + r * std::sin(rad), c.y - r * std::cos(rad)};
  };
  auto near = [&](Pt q) { return std::hypot(p.x - q.x, p.y - q.y) <= w / 2; };
  if (near(at(a0)) || near(at(a1))) return true;
  double d = std::hypot(p.x - c.x, p.y - c.y);
  if (std::fabs(d - r) > w / 2) return false;
  if (a1 - a0 >= 360) return true;
  double a = clockAngle(p, c);
  double from = std::fmod(std::fmod(a0, 360) + 360, 360);
  double rel = std::fmod(a - from + 360, 360);
  return rel <= a1 - a0;
}

// One painting command with its colour, ready to be tested per sample.
struct Command {
  enum Kind { kCircle, kRect, kPoly, kLine, kArc } kind;
  uint32_t color;  // 0xRRGGBBAA
  std::vector<double> n;
  std::vector<Pt> pts;
  bool covers(Pt p) const {
    switch (kind) {
      case kCircle: return std::hypot(p.x - n[0], p.y - n[1]) <= n[2];
      case kRect: return insideRoundRect(p, n[0], n[1], n[2], n[3], n.size() > 4 ? n[4] : 0);
      case kPoly: return insidePolygon(p, pts);
      case kLine:
        for (size_t i = 0; i + 1 < pts.size(); i++)
          if (segmentDistance(p, pts[i], pts[i + 1]) <= n[0] / 2) return true;
        return pts.size() == 1 && std::hypot(p.x - pts[0].x, p.y - pts[0].y) <= n[0] / 2;
      case kArc: return insideArc(p, n[0], Pt{n[1], n[2]}, n[3], n[4], n[5]);
    }
    return false;
  }
};

bool parseColor(const std::string& word, uint32_t* color) {
  if (word.size() != 7 && word.size() != 9) return false;
  if (word[0] != '#') return false;
  for (size_t i = 1; i < word.size(); i++)
    if (!std::isxdigit(static_cast<unsigned char>(word[i]))) return false;
  uint32_t v = static_cast<uint32_t>(std::strtoul(word.c_str() + 1, nullptr, 16));
  *color = word.size() == 7 ? (v << 8 | 0xff) : v;
  return true;
}

bool parseNumber(const std::string& word, double* value) {
  char* end = nullptr;
  *value = std::strtod(word.c_str(), &end);
  return !word.empty() && end && *end == 0 && std::isfinite(*value) && std::fabs(*value) < 1e6;
}

// The commands of a shape, up to the first one that cannot be read;
// *complete tells whether that was the end.
std::vector<Command> parseShape(const char* shape, bool* complete = nullptr) {
  std::vector<Command> commands;
  if (complete) *complete = false;
  if (!shape) return commands;
  uint32_t color = 0x000000ff;
  std::string text(shape);
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find_first_of(";\n", pos);
    if (end == std::string::npos) end = text.size();
    std::vector<std::string> words;
    size_t w = pos;
    while (w < end) {
      while (w < end && std::isspace(static_cast<unsigned char>(text[w]))) w++;
      size_t s = w;
      while (w < end && !std::isspace(static_cast<unsigned char>(text[w]))) w++;
      if (w > s) words.push_back(text.substr(s, w - s));
    }
    pos = end + 1;
    if (words.empty()) continue;
    const std::string& verb = words[0];
    if (verb == "fill") {
      if (words.size() != 2 || !parseColor(words[1], &color)) return commands;
      continue;
    }
    Command c;
    c.color = color;
    for (size_t i = 1; i < words.size(); i++) {
      double v;
      if (!parseNumber(words[i], &v)) return commands;
      c.n.push_back(v);
    }
    size_t count = c.n.size();
    if (verb == "circle" && count == 3) c.kind = Command::kCircle;
    else if (verb == "rect" && (count == 4 || count == 5)) c.kind = Command::kRect;
    else if (verb == "poly" && count >= 6 && count % 2 == 0) c.kind = Command::kPoly;
    else if (verb == "line" && count >= 3 && count % 2 == 1) c.kind = Command::kLine;
    else if (verb == "arc" && count == 6) c.kind = Command::kArc;
    else return commands;
    size_t first = c.kind == Command::kLine ? 1 : 0;
    if (c.kind == Command::kPoly || c.kind == Command::kLine)
      for (size_t i = first; i + 1 < count; i += 2) c.pts.push_back(Pt{c.n[i], c.n[i + 1]});
    commands.push_back(std::move(c));
  }
  if (complete) *complete = true;
  return commands;
}

// Premultiplied "over" of a colour with coverage (0..1) onto a pixel.
uint32_t over(uint32_t dst, uint32_t rgba, double cover) {
  double a = ((rgba & 0xff) / 255.0) * cover;
  auto channel = [&](int shiftDst, int shiftSrc) {
    double s = ((rgba >> shiftSrc) & 0xff) * a;
    double d = ((dst >> shiftDst) & 0xff) * (1 - a);
    return static_cast<uint32_t>(std::lround(std::min(255.0, s + d)));
  };
  uint32_t alpha = static_cast<uint32_t>(std::lround(std::min(255.0, a * 255 + ((dst >> 24) & 0xff) * (1 - a))));
  return alpha << 24 | channel(16, 24) << 16 | channel(8, 16) << 8 | channel(0, 8);
}

PFldPtr fieldOf(ResPtr res, const char* name) { return res ? RCLAS_FindField(res->ResClass, name) : nullptr; }

}  // namespace

std::vector<uint32_t> ICON_RenderShape(const char* shape, int iconW, int iconH, int pixelW, int pixelH) {
  pixelW = std::clamp(pixelW, 0, kMaxPixels);
  pixelH = std::clamp(pixelH, 0, kMaxPixels);
  std::vector<uint32_t> pixels(static_cast<size_t>(pixelW) * pixelH, 0);
  if (iconW <= 0 || iconH <= 0 || pixels.empty()) return pixels;
  const double sx = static_cast<double>(iconW) / pixelW, sy = static_cast<double>(iconH) / pixelH;
  for (const Command& c : parseShape(shape)) {
    for (int py = 0; py < pixelH; py++) {
      for (int px = 0; px < pixelW; px++) {
        int hits = 0;
        for (int j = 0; j < kSamples; j++)
          for (int i = 0; i < kSamples; i++)
            hits += c.covers(Pt{(px + (i + 0.5) / kSamples) * sx, (py + (j + 0.5) / kSamples) * sy});
        if (hits) {
          uint32_t& p = pixels[static_cast<size_t>(py) * pixelW + px];
          p = over(p, c.color, static_cast<double>(hits) / (kSamples * kSamples));
        }
      }
    }
  }
  return pixels;
}

BoolEnum ICON_ShapeIsValid(const char* shape) {
  bool complete = false;
  parseShape(shape, &complete);
  return complete;
}

BoolEnum ICON_IsIcon(ResPtr res) {
  RClasPtr icon = RCLAS_FindByName("Icon");
  return res && icon && RCLAS_IsSubClassOf(res->ResClass, icon);
}

_Point16Rec ICON_GetSize(ResPtr icon) {
  _Point16Rec size{0, 0};
  if (!ICON_IsIcon(icon)) return size;
  PFldPtr w = fieldOf(icon, "Width"), h = fieldOf(icon, "Height");
  if (w) size.X = static_cast<int16_t>(std::clamp<long>(PFLD_GetInt(icon, w), 0, 256));
  if (h) size.Y = static_cast<int16_t>(std::clamp<long>(PFLD_GetInt(icon, h), 0, 256));
  return size;
}

_Point16Rec ICON_GetScreenSize(ResPtr icon) {
  _Point16Rec size = ICON_GetSize(icon);
  int dpi = DSPLY_GetScreenDpi();
  size.X = static_cast<int16_t>(size.X * dpi / 96);
  size.Y = static_cast<int16_t>(size.Y * dpi / 96);
  return size;
}

void ICON_Draw(DrawPtr draw, ResPtr icon, int x, int y) {
  _Point16Rec units = ICON_GetSize(icon);
  _Point16Rec pixels = ICON_GetScreenSize(icon);
  PFldPtr shapeField = fieldOf(icon, "Shape");
  if (!draw || !shapeField || pixels.X <= 0 || pixels.Y <= 0) return;
  const char* shape = PFLD_GetStr(icon, shapeField);
  // Pictures are kept by shape and size, so that an icon freed and another
  // made at its address can never be shown with the old picture.
  static std::map<std::string, std::vector<uint32_t>> cache;
  std::string key = std::to_string(units.X) + "x" + std::to_string(units.Y) + "@" + std::to_string(pixels.X) + "x" +
                    std::to_string(pixels.Y) + ":" + (shape ? shape : "");
  auto it = cache.find(key);
  if (it == cache.end()) {
    if (cache.size() >= kMaxCachedPictures) cache.clear();
    it = cache.emplace(key, ICON_RenderShape(shape, units.X, units.Y, pixels.X, pixels.Y)).first;
  }
  DRAW_Image(draw, x, y, pixels.X, pixels.Y, it->second.data());
}
