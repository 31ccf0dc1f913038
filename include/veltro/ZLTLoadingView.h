#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <UIKit/UIKit.h>
#import <veltro/ZLTExport.h>

/// A small busy panel: a translucent black rounded rectangle with a turning white spinner above a
/// white caption, the main bundle's text for "Loading..". Main thread only.
VELTRO_EXPORT
@interface ZLTLoadingView : UIView

/// Builds the whole panel for the width and height of `frame`, in points; nothing follows a later
/// change of the frame. A frame less than 44 points high puts the spinner above the upper edge.
/// nil only where the superclass returns nil. The caller owns the view, adds it to a view of its
/// own and removes it when the work is done; the spinner turns until then.
- (id)initWithFrame:(CGRect)frame;

@end

#endif
