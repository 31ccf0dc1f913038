// The views of `veltro view`, and how they look at a moment.
#pragma once

#include "view_options.hpp"

#import <UIKit/UIKit.h>

#include <cstdint>
#include <vector>

namespace veltro::tool {

/// The view as the options want it (autoreleased); an alert shows itself, and tells `delegate`.
UIView *make_view(const ViewOptions &options, CGSize size, id delegate);

/// Ends what make_view began, and tells nobody.
void put_away(UIView *view);

/// The view on nothing; nil without memory for it.
UIImage *image_of(UIView *view);

/// The same as a PNG file; empty without memory for it.
std::vector<std::uint8_t> png_of(UIView *view);

/// The spinner's whole turn from that second on, as an animated PNG; empty without memory for it.
std::vector<std::uint8_t> whole_turn_of(UIView *view, double from);

} // namespace veltro::tool
