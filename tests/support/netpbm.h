// Pictures in the netpbm formats that other programs write: PGM, PPM and PAM, binary.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

struct Netpbm {
  int width = 0;
  int height = 0;
  int components = 0;
  int most = 0;         ///< Greatest sample.
  std::string samples;  ///< 8 bits each; deeper ones lose their low byte.

  static Netpbm parse(const std::string& bytes) {
    Netpbm image;
    std::istringstream in(bytes);
    std::string kind;
    in >> kind;
    if (kind == "P7")
      image.read_pam_header(in);
    else
      image.read_header(in, kind);
    in.get();
    const auto start = static_cast<std::size_t>(std::max<std::streamoff>(in.tellg(), 0));
    const std::size_t step = image.most > 255 ? 2 : 1;
    for (std::size_t i = start; i < bytes.size(); i += step)
      image.samples += bytes[i];
    return image;
  }

private:
  static int number(std::istringstream& in) {
    std::string word;
    while (in >> word && word[0] == '#')
      std::getline(in, word);
    return std::atoi(word.c_str());
  }
  void read_header(std::istringstream& in, const std::string& kind) {
    components = kind == "P6" ? 3 : 1;
    width = number(in);
    height = number(in);
    most = number(in);
  }
  void read_pam_header(std::istringstream& in) {
    for (std::string key; in >> key && key != "ENDHDR";) {
      if (key == "WIDTH")
        in >> width;
      else if (key == "HEIGHT")
        in >> height;
      else if (key == "DEPTH")
        in >> components;
      else if (key == "MAXVAL")
        in >> most;
      else
        in >> key;
    }
  }
};

/// The greatest difference of two samples at the same place.
inline int greatest_difference(const std::string& a, const std::string& b) {
  int most = 0;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    most = std::max(most, std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i])));
  return most;
}
