#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <UIKit/UIKit.h>
#import <veltro/ZLTExport.h>

/// A small busy panel: a translucent black rounded rectangle with a turning white spinner above a
/// white caption, the main bundle's text for "Loading..". Main thread only.
VELTRO_EXPORT
@interface ZLTLoadingView : UIView

/// Builds the whole panel for the width and height of `frame`; nothing follows a later change of
/// it. The caller adds the view to a view of its own and removes it when the work is done; the
/// spinner turns until then.
/// @param frame The frame in points, of any size; less than 44 points high puts the spinner above
/// the upper edge.
/// @return The view, which the caller owns; nil only where the superclass returns nil.
- (id)initWithFrame:(CGRect)frame;

@end

#endif
