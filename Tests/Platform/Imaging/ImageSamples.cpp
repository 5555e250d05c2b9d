#include "ImageSamples.hpp"

// jpeglib.h needs these two first.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>
#include <zlib.h>

#include <array>
#include <cstdlib>

namespace samples {

namespace {

std::string number(std::uint32_t value) {
  return bytes({static_cast<int>(value >> 24), static_cast<int>(value >> 16 & 0xFF),
                static_cast<int>(value >> 8 & 0xFF), static_cast<int>(value & 0xFF)});
}

std::string shortNumber(int value, bool isBigEndian) {
  return isBigEndian ? bytes({value >> 8, value & 0xFF}) : bytes({value & 0xFF, value >> 8});
}

std::string longNumber(int value, bool isBigEndian) {
  const std::string low = shortNumber(value, isBigEndian);
  const std::string high = shortNumber(0, isBigEndian);
  return isBigEndian ? high + low : low + high;
}

J_COLOR_SPACE spaceGiven(JPEGColours colours) {
  if (colours == JPEGColours::grey) return JCS_GRAYSCALE;
  return colours == JPEGColours::cmyk || colours == JPEGColours::cmykAsYCCK ? JCS_CMYK : JCS_RGB;
}

J_COLOR_SPACE spaceWritten(JPEGColours colours) {
  if (colours == JPEGColours::rgbAsYCbCr) return JCS_YCbCr;
  return colours == JPEGColours::cmykAsYCCK ? JCS_YCCK : spaceGiven(colours);
}

}  // namespace

std::string bytes(std::initializer_list<int> values) {
  std::string text;
  for (const int value : values) text += static_cast<char>(value);
  return text;
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t index = 0; index < count; ++index) all += text;
  return all;
}

std::string pngChunk(std::string_view type, std::string_view content) {
  const std::string checked = std::string(type) + std::string(content);
  const auto checksum = crc32_z(0, reinterpret_cast<const Bytef*>(checked.data()), checked.size());
  return number(static_cast<std::uint32_t>(content.size())) + checked + number(static_cast<std::uint32_t>(checksum));
}

std::string pngHeader(std::uint32_t width, std::uint32_t height, int bitDepth, PNGColour colour, bool isInterlaced) {
  const std::string rest = bytes({bitDepth, static_cast<int>(colour), 0, 0, isInterlaced ? 1 : 0});
  return pngChunk("IHDR", number(width) + number(height) + rest);
}

std::string pngRows(const std::vector<std::string>& rows) {
  std::string plain;
  for (const auto& row : rows) plain += std::string(1, '\0') + row;
  uLongf size = compressBound(static_cast<uLong>(plain.size()));
  std::string packed(size, '\0');
  if (compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
               static_cast<uLong>(plain.size())) != Z_OK) {
    std::abort();
  }
  return pngChunk("IDAT", std::string_view(packed).substr(0, size));
}

std::string png(std::string_view header, const std::vector<std::string>& rows, std::string_view chunks) {
  return std::string(pngSignature) + std::string(header) + std::string(chunks) + pngRows(rows) + pngChunk("IEND", {});
}

std::string exif(int orientation, bool isBigEndian) {
  constexpr int directory = 8;
  constexpr int resolutionUnitTag = 0x0128;
  constexpr int orientationTag = 0x0112;
  constexpr int shortType = 3;
  const auto entry = [&](int tag, int value) {
    return shortNumber(tag, isBigEndian) + shortNumber(shortType, isBigEndian) + longNumber(1, isBigEndian) +
           shortNumber(value, isBigEndian) + shortNumber(0, isBigEndian);
  };
  return (isBigEndian ? "MM" : "II") + shortNumber(42, isBigEndian) + longNumber(directory, isBigEndian) +
         shortNumber(2, isBigEndian) + entry(resolutionUnitTag, 2) + entry(orientationTag, orientation) +
         longNumber(0, isBigEndian);
}

std::string jpeg(const JPEGSample& sample, std::string_view channels) {
  jpeg_compress_struct state{};
  jpeg_error_mgr errors{};  // ends the process after an error
  state.err = jpeg_std_error(&errors);
  jpeg_create_compress(&state);
  unsigned char* written = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&state, &written, &size);

  state.image_width = sample.width;
  state.image_height = sample.height;
  state.in_color_space = spaceGiven(sample.colours);
  state.input_components = state.in_color_space == JCS_GRAYSCALE ? 1 : state.in_color_space == JCS_RGB ? 3 : 4;
  jpeg_set_defaults(&state);
  jpeg_set_colorspace(&state, spaceWritten(sample.colours));
  jpeg_set_quality(&state, 100, TRUE);
  for (int channel = 0; channel < state.num_components; ++channel) {
    state.comp_info[channel].h_samp_factor = 1;
    state.comp_info[channel].v_samp_factor = 1;
  }
  state.write_Adobe_marker = sample.hasAdobeMarker ? state.write_Adobe_marker : FALSE;
  std::array<jpeg_scan_info, MAX_COMPONENTS> scans{};
  if (sample.scans == JPEGScans::progressive) jpeg_simple_progression(&state);
  if (sample.scans == JPEGScans::onePerChannel) {
    for (int channel = 0; channel < state.num_components; ++channel) {
      scans[static_cast<std::size_t>(channel)] = {1, {channel}, 0, DCTSIZE2 - 1, 0, 0};
    }
    state.scan_info = scans.data();
    state.num_scans = state.num_components;
  }

  jpeg_start_compress(&state, TRUE);
  if (!sample.exif.empty()) {
    const std::string marker = std::string("Exif\0\0", 6) + sample.exif;
    jpeg_write_marker(&state, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(marker.data()),
                      static_cast<unsigned int>(marker.size()));
  }
  std::string rows(channels);
  const std::size_t rowSize = std::size_t{sample.width} * static_cast<std::size_t>(state.input_components);
  if (rows.size() != rowSize * sample.height) std::abort();
  while (state.next_scanline < state.image_height) {
    JSAMPROW row = reinterpret_cast<JSAMPROW>(rows.data()) + rowSize * state.next_scanline;
    jpeg_write_scanlines(&state, &row, 1);
  }
  jpeg_finish_compress(&state);
  std::string file(reinterpret_cast<const char*>(written), size);
  jpeg_destroy_compress(&state);
  std::free(written);
  return file;
}

}  // namespace samples
