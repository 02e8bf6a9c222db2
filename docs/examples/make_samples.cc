// Writes small samples of every kind of file into a folder: make_samples FOLDER.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "HalconCreate.h"
#include "model_files.h"

namespace {

using namespace HalconCpp;

constexpr int width = 320, height = 240;

// A flat ring seen from above, in pixels; a coin has no hole.
struct Washer {
  double row, column, outer, inner;
};
constexpr Washer washers[] = {{72, 70, 40, 19}, {70, 172, 30, 11}, {166, 84, 46, 25}};
constexpr Washer coins[] = {{176, 186, 34, 0}, {78, 262, 38, 0}};

// A bar beside them, between two rows.
constexpr double bar_top = 214, bar_bottom = 226, bar_left = 150, bar_right = 304;

double distance(const Washer& washer, double row, double column) {
  return std::hypot(row - washer.row, column - washer.column);
}

// How much of the pixel lies within the radius, by its distance from the middle.
double covered(double from_middle, double radius) { return std::clamp(radius - from_middle + 0.5, 0.0, 1.0); }

double metal(const Washer& washer, double row, double column, double shade) {
  const double from_middle = distance(washer, row, column);
  const double light = shade + 0.5 * (washer.row - row) + 0.35 * (washer.column - column);
  const double rim = from_middle > washer.outer - 4 ? 22 : 0;
  return light + rim;
}

// A tray lit from the upper left, with the parts in it. `shift` moves the light.
std::vector<std::uint8_t> tray(double shift) {
  std::vector<std::uint8_t> pixels;
  std::uint32_t noise = 1;
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column) {
      noise = noise * 1664525 + 1013904223;
      double value = 70 - 0.08 * row - 0.06 * (column + shift);
      const auto lay = [&](double part, double amount) { value += (part - value) * amount; };
      for (const Washer& washer : washers)
        lay(metal(washer, row, column, 165), covered(distance(washer, row, column), washer.outer) -
                                                 covered(distance(washer, row, column), washer.inner));
      for (const Washer& coin : coins)
        lay(metal(coin, row, column, 200), covered(distance(coin, row, column), coin.outer));
      if (row >= bar_top && row <= bar_bottom && column >= bar_left && column <= bar_right) value = 150 + 0.2 * shift;
      pixels.push_back(static_cast<std::uint8_t>(std::clamp(value + double(noise >> 29), 0.0, 255.0)));
    }
  }
  return pixels;
}

HObject gray_image(double shift = 0) {
  HObject image;
  GenImage1(&image, "byte", width, height, tray(shift).data());
  return image;
}

// Copper coins on a green tray.
HObject color_image() {
  const std::vector<std::uint8_t> gray = tray(0);
  HObject channels[3], image;
  constexpr double dark[] = {0.5, 0.95, 0.8}, bright[] = {1.05, 0.86, 0.66};
  for (int c = 0; c < 3; ++c) {
    std::vector<std::uint8_t> plane;
    for (const std::uint8_t value : gray)
      plane.push_back(static_cast<std::uint8_t>(std::min(255.0, value * (value < 90 ? dark[c] : bright[c]))));
    GenImage1(&channels[c], "byte", width, height, plane.data());
  }
  Compose3(channels[0], channels[1], channels[2], &image);
  return image;
}

// What a depth camera might give: heights of 16 bits, known on the tray only, and the slopes there as two channels of
// reals.
HObject depth_images() {
  std::vector<std::uint16_t> heights;
  std::vector<float> slopes[2];
  const std::vector<std::uint8_t> gray = tray(0);
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column) {
      heights.push_back(static_cast<std::uint16_t>(20 * gray[static_cast<std::size_t>(row * width + column)] + column));
      slopes[0].push_back(static_cast<float>(row) / 4 - 30);
      slopes[1].push_back(static_cast<float>(column) / 10);
    }
  HObject image, tray_only, first, second, both, result;
  GenImage1(&image, "uint2", width, height, heights.data());
  GenRectangle1(&tray_only, 8, 12, height - 9, width - 13);
  ReduceDomain(image, tray_only, &image);
  GenImage1(&first, "real", width, height, slopes[0].data());
  GenImage1(&second, "real", width, height, slopes[1].data());
  Compose2(first, second, &both);
  ConcatObj(image, both, &result);
  return result;
}

HTuple pair(const HTuple& first, const HTuple& second) {
  HTuple both = first;
  return both.Append(second);
}

HObject joined(const HObject& first, const HObject& second) {
  HObject both;
  ConcatObj(first, second, &both);
  return both;
}

HObject ring(const Washer& washer) {
  HTuple rows, begins, ends;
  const auto add = [&](int row, double from, double to) {
    rows.Append(row);
    begins.Append(static_cast<Hlong>(std::ceil(from)));
    ends.Append(static_cast<Hlong>(std::floor(to)));
  };
  for (int row = static_cast<int>(std::ceil(washer.row - washer.outer)); row <= washer.row + washer.outer; ++row) {
    const double off = row - washer.row;
    const double half = std::sqrt(washer.outer * washer.outer - off * off);
    const double hole = std::abs(off) < washer.inner ? std::sqrt(washer.inner * washer.inner - off * off) : -1;
    if (hole < 0) {
      add(row, washer.column - half, washer.column + half);
    } else {
      add(row, washer.column - half, washer.column - hole);
      add(row, washer.column + hole, washer.column + half);
    }
  }
  HObject region;
  GenRegionRuns(&region, rows, begins, ends);
  return region;
}

HObject circle(const Washer& washer, double radius) {
  HTuple rows, columns;
  for (int i = 0; i <= 90; ++i) {
    const double angle = i * std::numbers::pi / 45;
    rows.Append(washer.row + radius * std::sin(angle));
    columns.Append(washer.column + radius * std::cos(angle));
  }
  HObject contour;
  GenContourPolygonXld(&contour, rows, columns);
  return contour;
}

HObject bar_polygon() {
  HTuple rows, columns;
  for (const double row : {bar_top, bar_top, bar_bottom, bar_bottom, bar_top}) rows.Append(row);
  for (const double column : {bar_left, bar_right, bar_right, bar_left, bar_left}) columns.Append(column);
  HObject polygon;
  GenPolygonXld(&polygon, rows, columns);
  return polygon;
}

HObject bar_edges() {
  HObject parallels;
  const HTuple columns = pair(bar_left - 8, bar_right + 8);
  GenParallelsXld(&parallels, pair(bar_top - 4, bar_top - 4), columns, pair(bar_bottom + 4, bar_bottom + 4), columns);
  return parallels;
}

// The image without a margin, the parts as regions, their measured edges, the bar.
HObject scene() {
  HObject inner, image;
  GenRectangle1(&inner, 8, 8, height - 9, width - 9);
  ReduceDomain(gray_image(), inner, &image);
  HObject all = image;
  for (const Washer& coin : coins) all = joined(all, ring(coin));
  for (const Washer& washer : washers) all = joined(all, ring(washer));
  for (const Washer& washer : washers)
    all = joined(joined(all, circle(washer, washer.outer)), circle(washer, washer.inner));
  return joined(joined(all, bar_polygon()), bar_edges());
}

HTuple new_dict() {
  HTuple dict;
  CreateDict(&dict);
  return dict;
}

// A cup-like shell of points, open at the top.
HTuple cup() {
  HTuple x, y, z, model;
  for (int level = 0; level < 40; ++level) {
    for (int step = 0; step < 90; ++step) {
      const double angle = step * std::numbers::pi / 45, radius = 20 + 0.012 * level * level;
      x.Append(radius * std::cos(angle));
      y.Append(double(level));
      z.Append(radius * std::sin(angle));
    }
  }
  GenObjectModel3dFromPoints(x, y, z, &model);
  return model;
}

HTuple measurements() {
  HTuple list = new_dict(), areas, radii;
  for (const Washer& washer : washers) {
    areas.Append(std::numbers::pi * (washer.outer * washer.outer - washer.inner * washer.inner));
    radii.Append(washer.outer);
  }
  SetDictTuple(list, "areas", areas);
  SetDictTuple(list, "radii", radii);
  return list;
}

// Gray values along the row through the first washers.
HTuple profile() {
  const std::vector<std::uint8_t> pixels = tray(0);
  HTuple values;
  for (int column = 0; column < width; ++column) values.Append(static_cast<Hlong>(pixels[71 * width + column]));
  return values;
}

HTuple parts_description() {
  HTuple dict = new_dict();
  SetDictTuple(dict, "title", "Washers and coins on a tray");
  SetDictTuple(dict, "count", static_cast<Hlong>(std::size(washers) + std::size(coins)));
  SetDictTuple(dict, "names", pair(pair("M8", "M6"), "M10"));
  SetDictTuple(dict, "measured", measurements());
  SetDictTuple(dict, "profile", profile());
  return dict;
}

HTuple parts_with_objects() {
  HTuple dict = parts_description();
  HTuple rotation, elements;
  for (const double element : {0.8, -0.6, 12.5, 0.6, 0.8, -4.0, 0.0, 0.0, 1.0}) elements.Append(element);
  CreateMatrix(3, 3, elements, &rotation);
  HObject regions = ring(washers[0]);
  for (const Washer& washer : {washers[1], washers[2]}) regions = joined(regions, ring(washer));
  SetDictObject(color_image(), dict, "image");
  SetDictObject(regions, dict, "washers");
  SetDictObject(circle(coins[1], coins[1].outer), dict, "rim");
  SetDictTuple(dict, "pose", rotation);
  SetDictTuple(dict, "cup", cup());
  return dict;
}

HTuple network() {
  const HTuple dict = new_dict(), input = new_dict();
  SetDictTuple(input, "name", "image");
  SetDictTuple(input, "shape", pair(pair(3, 224), 224));
  SetDictTuple(dict, "type", "classification");
  SetDictTuple(dict, "class_names", pair("coin", "washer"));
  SetDictTuple(dict, "input", input);
  HTuple model;
  CreateDlModel(dict, &model);
  return model;
}

void write_text(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error("'" + path + "' could not be written");
}

void write_dict(const HTuple& dict, const std::string& path) {
  HDict(dict[0].H()).WriteDict(path.c_str(), HTuple(), HTuple());
}

// Writes PNG; where this build does not, PNM. The name of the file written.
std::string write_picture(const HObject& image, const std::string& folder, const std::string& stem) {
  const std::string pnm = HalconCpp::HImage(image).CountChannels()[0].L() == 1 ? "pgm" : "ppm";
  for (const std::string& format : {std::string("png"), pnm}) try {
      std::string name = stem + "." + format;
      WriteImage(image, format.c_str(), 0, (folder + "/" + name).c_str());
      return name;
    } catch (const HalconCpp::HException&) {
      if (format == pnm) throw;
    }
  return {};
}

void make_samples(const std::string& folder) {
  std::filesystem::create_directories(folder);
  const auto in_folder = [&](const char* name) { return folder + "/" + name; };
  WriteObject(scene(), in_folder("scene.hobj").c_str());
  WriteObject(depth_images(), in_folder("depth.hobj").c_str());
  WriteImage(gray_image(), "pgm", 0, in_folder("image.pgm").c_str());
  write_picture(color_image(), folder, "image");
  std::string frames;
  for (int i = 1; i <= 3; ++i) frames += write_picture(gray_image(160 * i), folder, "frame" + std::to_string(i)) + "\n";
  write_text(in_folder("list.seq"), frames);
  write_dict(parts_description(), in_folder("parts.json"));
  write_dict(parts_with_objects(), in_folder("parts.hdict"));
  write_text(in_folder("model.ply"), samples::cube_ply());
  write_text(in_folder("model.obj"), samples::cube_obj());
  write_text(in_folder("model.off"), samples::cube_off());
  write_text(in_folder("model.stl"), samples::cube_stl());
  WriteObjectModel3d(cup(), in_folder("model.om3").c_str());
  write_text(in_folder("network.onnx"), samples::network_onnx());
  WriteDlModel(network(), in_folder("network.hdl").c_str());
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fputs("Usage: make_samples FOLDER\n", stderr);
    return 2;
  }
  make_samples(argv[1]);
  return 0;
} catch (const HalconCpp::HException& failure) {
  std::fprintf(stderr, "make_samples: %s\n", failure.ErrorMessage().Text());
  return 1;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "make_samples: %s\n", failure.what());
  return 1;
}
