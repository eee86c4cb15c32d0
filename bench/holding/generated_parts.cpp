#include "generated_parts.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <numbers>
#include <utility>

namespace stiltforge::bench {

namespace {

constexpr double pi = std::numbers::pi;

struct Vec {
  double x = 0;
  double y = 0;
  double z = 0;

  Vec operator+(const Vec& o) const { return {x + o.x, y + o.y, z + o.z}; }
  Vec operator-(const Vec& o) const { return {x - o.x, y - o.y, z - o.z}; }
  Vec operator*(double f) const { return {f * x, f * y, f * z}; }
};

Vec cross(const Vec& a, const Vec& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(const Vec& v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}
Vec unit(const Vec& v) {
  return v * (1 / length(v));
}

// Closed shells that may overlap, seen from outside counter-clockwise.
class Shells {
 public:
  void triangle(const Vec& a, const Vec& b, const Vec& c) {
    for (const Vec& v : {a, b, c}) {
      for (const double value : {v.x, v.y, v.z}) positions_.push_back(static_cast<float>(value));
    }
  }
  void quad(const Vec& a, const Vec& b, const Vec& c, const Vec& d) {
    triangle(a, b, c);
    triangle(a, c, d);
  }

  // By its corner and its edges, a right-handed system; inwards: its empty inside.
  void block(const Vec& o, Vec a, Vec b, const Vec& c, bool inwards = false) {
    if (inwards) std::swap(a, b);
    quad(o, o + b, o + a + b, o + a);
    quad(o + c, o + a + c, o + a + b + c, o + b + c);
    quad(o, o + a, o + a + c, o + c);
    quad(o + b, o + b + c, o + a + b + c, o + a + b);
    quad(o, o + c, o + b + c, o + b);
    quad(o + a, o + a + b, o + a + b + c, o + a + c);
  }
  void box(const Vec& low, const Vec& high, bool inwards = false) {
    const Vec d = high - low;
    block(low, {d.x, 0, 0}, {0, d.y, 0}, {0, 0, d.z}, inwards);
  }

  // radius(direction) from the centre.
  void star(const Vec& centre, int steps, const std::function<double(const Vec&)>& radius) {
    const auto at = [&](int i, int j) {
      const double polar = pi * i / steps;
      const double turn = 2 * pi * (j % (2 * steps)) / (2 * steps);
      const double ring = i == 0 || i == steps ? 0 : std::sin(polar);
      const Vec direction{ring * std::cos(turn), ring * std::sin(turn), std::cos(polar)};
      return centre + direction * radius(direction);
    };
    for (int i = 0; i < steps; ++i) {
      for (int j = 0; j < 2 * steps; ++j) {
        if (i > 0) triangle(at(i, j), at(i + 1, j), at(i, j + 1));
        if (i + 1 < steps) triangle(at(i, j + 1), at(i + 1, j), at(i + 1, j + 1));
      }
    }
  }
  void sphere(const Vec& centre, double radius) {
    star(centre, 60, [&](const Vec&) { return radius; });
  }

  // Around centre(t) for t from 0 to 1, with a radius that may depend on t and on the turn.
  void tube(int steps, int sides, const std::function<Vec(double)>& centre,
            const std::function<double(double, double)>& radius, bool closed = false) {
    std::vector<std::vector<Vec>> rings;
    for (int i = 0; i < steps + (closed ? 0 : 1); ++i) {
      const double t = static_cast<double>(i) / steps;
      const Vec along = unit(centre(t + 1e-5) - centre(t - 1e-5));
      const Vec side = unit(cross(std::abs(along.z) < 0.9 ? Vec{0, 0, 1} : Vec{1, 0, 0}, along));
      const Vec up = cross(along, side);
      rings.emplace_back();
      for (int j = 0; j < sides; ++j) {
        const double turn = 2 * pi * j / sides;
        const double r = radius(t, turn);
        rings.back().push_back(centre(t) + side * (r * std::cos(turn)) + up * (r * std::sin(turn)));
      }
    }
    const std::size_t count = rings.size();
    const auto n = static_cast<std::size_t>(sides);
    for (std::size_t i = 0; i + (closed ? 0 : 1) < count; ++i) {
      const std::vector<Vec>& a = rings[i];
      const std::vector<Vec>& b = rings[(i + 1) % count];
      for (std::size_t j = 0; j < n; ++j) quad(a[j], a[(j + 1) % n], b[(j + 1) % n], b[j]);
    }
    if (closed) return;
    for (std::size_t j = 0; j < n; ++j) {
      triangle(centre(0), rings.front()[(j + 1) % n], rings.front()[j]);
      triangle(centre(1), rings.back()[j], rings.back()[(j + 1) % n]);
    }
  }
  void rod(const Vec& from, const Vec& to, double radius, double endRadius = -1) {
    const double end = endRadius < 0 ? radius : endRadius;
    tube(
        1, 24, [&](double t) { return from + (to - from) * t; },
        [&](double t, double) { return radius + (end - radius) * t; });
  }

  std::vector<float> take() { return std::exchange(positions_, {}); }

 private:
  std::vector<float> positions_;
};

// Waves in some directions whose lengths halve as their heights do, about -1 to 1.
double roughness(const Vec& at, double wave, int octaves) {
  double sum = 0;
  double height = 1;
  for (int i = 0; i < octaves; ++i) {
    const double f = 2 * pi / wave;
    sum += height / 3 *
           (std::sin(f * (at.x + 0.6 * at.y) + i) + std::sin(f * (at.y - 0.7 * at.z) + 2 * i) +
            std::sin(f * (at.z + 0.5 * at.x) + 3 * i));
    wave *= 0.43;
    height *= 0.5;
  }
  return sum;
}

void roughBall(Shells& s, const Vec& centre, double radius, double height, double wave) {
  s.star(centre, 180,
         [&](const Vec& d) { return radius + height * roughness(centre + d * radius, wave, 3); });
}

void roughRing(Shells& s) {
  s.tube(
      636, 48,
      [](double t) {
        return Vec{15 * std::cos(2 * pi * t), 15 * std::sin(2 * pi * t), 8};
      },
      [](double t, double turn) {
        return 2.5 + 0.06 * std::cos(2 * pi * 106 * t) * (std::sin(turn) < 0 ? 1 : 0);
      },
      true);
}

void pinPlate(Shells& s, int side, double pitch, double radius) {
  s.box({0, 0, 12}, {side * pitch, side * pitch, 14});
  for (int i = 0; i < side * side; ++i) {
    const double x = (i % side + 0.5) * pitch;
    const double y = (i / side + 0.5) * pitch;
    const double low = 4 + (i * 7 % 13) * 0.37;
    s.rod({x, y, low}, {x, y, 12.5}, radius);
  }
}

void comb(Shells& s) {
  s.box({0, 0, 0}, {3, 4, 20});
  s.box({2, 0, 16}, {42, 4, 20});
  for (int i = 0; i < 26; ++i) {
    const double x = 4 + 1.4 * i;
    s.box({x, 1, 4 + (i % 5) * 1.1}, {x + 0.7, 3, 16.5});
  }
}

void blades(Shells& s) {
  s.box({-2, -2, 0}, {2, 2, 30});
  for (int i = 0; i < 5; ++i) {
    const double lean = (20 + 12 * i) * pi / 180;
    const Vec along{std::cos(lean), 0, std::sin(lean)};
    const Vec across{-0.4 * std::sin(lean), 0, 0.4 * std::cos(lean)};
    s.block({0, -6, 3 + 4.0 * i}, along * 18, {0, 12, 0}, across);
  }
}

void screw(Shells& s) {
  s.rod({0, 0, 3}, {0, 0, 30}, 4);
  s.tube(
      720, 16,
      [](double t) {
        return Vec{4 * std::cos(20 * pi * t), 4 * std::sin(20 * pi * t), 4.5 + 20 * t};
      },
      [](double, double) { return 1.0; });
  s.rod({0, 0, 28}, {0, 0, 33}, 8);
}

void figurine(Shells& s) {
  roughBall(s, {0, 0, 14}, 8, 0.5, 5);
  roughBall(s, {0, 0, 26}, 5.5, 0.35, 3);
  for (const double side : {-1.0, 1.0}) {
    s.rod({side * 3, 0, 3}, {side * 4, 0, 10}, 1.8, 2.5);
    roughBall(s, {side * 3, 1.5, 3.5}, 2.6, 0.2, 2);
    s.tube(
        60, 24,
        [&](double t) {
          return Vec{side * (7 + 8 * t), 4 * t, 17 - 7 * std::sin(3 * t)};
        },
        [](double t, double) { return 2 - 0.9 * t; });
    s.rod({side * 2, 0, 30}, {side * 4.5, 0, 37}, 1.4, 0.2);
  }
  for (int i = 0; i < 60; ++i) {
    const double turn = 2.4 * i;
    const double down = 0.6 + 0.02 * i;
    const Vec out{std::cos(turn) * std::cos(down), std::sin(turn) * std::cos(down),
                  0.9 - std::sin(down)};
    const Vec root = Vec{0, 0, 26} + unit(out) * 5;
    s.rod(root, root + unit(out) * 2.5 - Vec{0, 0, 1.5}, 0.35, 0.08);
  }
}

void lattice(Shells& s) {
  for (int i = 0; i <= 4; ++i) {
    for (int j = 0; j <= 4; ++j) {
      for (int k = 0; k < 4; ++k) {
        const Vec at{5.0 * i, 5.0 * j, 2 + 5.0 * k};
        if (i < 4) s.rod(at, at + Vec{5, 0, 5}, 0.6);
        if (j < 4) s.rod(at + Vec{0, 5, 0}, at + Vec{0, 0, 5}, 0.6);
        if (i < 4) s.rod(at, at + Vec{5, 0, 0}, 0.6);
      }
    }
  }
}

}  // namespace

std::vector<Part> generatedParts() {
  std::vector<Part> parts{boxPart()};
  Shells s;
  const auto add = [&](const char* name) { parts.push_back({name, s.take(), 3}); };

  s.sphere({0, 0, 15}, 12);
  add("sphere");
  roughRing(s);
  add("rough ring");
  s.tube(
      120, 48,
      [](double t) {
        return Vec{12 * std::cos(2 * pi * t), 0, 18 + 12 * std::sin(2 * pi * t)};
      },
      [](double, double) { return 3.0; }, true);
  add("standing torus");
  comb(s);
  add("comb");
  blades(s);
  add("blades");
  pinPlate(s, 8, 4, 0.5);
  add("pins 4 mm apart");
  pinPlate(s, 12, 1.5, 0.3);
  add("pins 1.5 mm apart");
  s.box({0, 0, 3}, {24, 24, 27});
  s.box({2, 2, 5}, {22, 22, 25}, true);
  add("hollow box");
  s.box({0, 0, 3}, {24, 24, 5});
  s.box({0, 0, 23}, {24, 24, 25});
  for (const double y : {0.0, 22.0}) s.box({0, y, 3}, {24, y + 2, 25});
  add("open frame");
  s.tube(
      240, 24,
      [](double t) {
        return Vec{10 * std::cos(8 * pi * t), 10 * std::sin(8 * pi * t), 4 + 20 * t};
      },
      [](double, double) { return 1.2; });
  s.rod({0, 0, 0}, {0, 0, 26}, 3);
  s.box({0, -1, 23}, {10, 1, 25});
  add("helix");
  screw(s);
  add("screw");
  s.box({-3, -3, 0}, {3, 3, 12});
  s.box({-20, -20, 12}, {20, 20, 14});
  add("table");
  roughBall(s, {0, 0, 18}, 13, 0.9, 7);
  add("rough ball");
  s.star({0, 0, 16}, 240, [](const Vec& d) { return 12 + 0.25 * roughness(d * 12, 1.6, 2); });
  add("grained ball");
  figurine(s);
  add("figurine");
  lattice(s);
  add("lattice");
  s.rod({0, 0, 3}, {0, 0, 20}, 0, 20);
  add("funnel");
  for (int i = 0; i < 8; ++i) {
    s.box({4.0 * i, 0, 3 + 2.0 * i}, {4.0 * i + 4.5, 20, 6 + 2.0 * i});
  }
  add("stairs");
  s.rod({0, 0, 12}, {40, 0, 12}, 6);
  add("lying cylinder");
  for (int i = 0; i < 40; ++i) {
    const double turn = 2.4 * i;
    const Vec out{std::cos(turn), std::sin(turn), -0.9 + 0.045 * i};
    s.rod({0, 0, 15}, Vec{0, 0, 15} + unit(out) * 13, 0.8, 0.1);
  }
  s.sphere({0, 0, 15}, 6);
  add("urchin");
  return parts;
}

}  // namespace stiltforge::bench
