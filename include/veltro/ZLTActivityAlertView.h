#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <UIKit/UIKit.h>
#import <veltro/ZLTExport.h>

/// A system alert with a spinner, for a wait that the user may not interrupt. Title, message and
/// buttons are the caller's, through UIAlertView. Main thread only.
VELTRO_EXPORT
@interface ZLTActivityAlertView : UIAlertView

/// Initialises the alert and adds the spinner as the running release allows: a plain subview up to
/// iOS 6.1, which never turns; the accessory view up to iOS 7.1; a view within the accessory view
/// from then on. Where the release's alert has no accessory view there is no spinner.
/// @param frame The frame in points, of any size; the system lays the alert out itself.
/// @return The alert, which the caller owns; nil only where the superclass returns nil.
- (id)initWithFrame:(CGRect)frame;

/// Dismisses the alert, animated, as if the button with index 0 had been clicked. Does not fail: it
/// may be sent to an alert that is not showing.
- (void)close;

@end

#endif
