#pragma once

#include "pxl/image.h"

#include <memory>
#include <string>

namespace pxl {

class Stream;
class Texture;

/// Decodes a PNG from the stream's position to its end. Empty when it is none, logged as
/// "Could not load png image".
Image decodePng(Stream& stream);
/// The same with its transparency thrown away (every alpha 255); "Could not load rgb image".
Image decodePngRgb(Stream& stream);

/// Reads a PNG file, path in UTF-8. Empty when it can't be read ("Could not read image file: " and the
/// path) or decoded.
Image readPngFile(const std::string& path);
Image readPngFileRgb(const std::string& path);

/// A texture with the picture; empty for an empty picture or when the driver refuses. Context current.
std::shared_ptr<Texture> createTexture(const Image& image);
/// readPngFile and createTexture in one.
std::shared_ptr<Texture> loadTexture(const std::string& path);

} // namespace pxl
