// What an image file says of itself beside its pixels: format, compression, bits, resolution and EXIF.
#ifndef QUOVEL_HOST_IMAGE_INFO_H
#define QUOVEL_HOST_IMAGE_INFO_H

#include <string>
#include <utility>
#include <vector>

namespace host {

// Names and values in the order to be shown. Looked into are PNG, JPEG, TIFF, BMP, GIF and PNM, of EXIF the usual
// fields of camera and exposure, not the place, thumbnails and notes of makers. Each name is there once, and values end
// after 8 KiB. Empty for any other file; damaged parts are left out.
using ImageInfo = std::vector<std::pair<std::string, std::string>>;
ImageInfo image_info(const std::string& path);

}  // namespace host

#endif
