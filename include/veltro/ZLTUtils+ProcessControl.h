#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// The messaging app's process, controlled from outside: launched in the background and kept from
/// being suspended. The caller's process must be one that the system allows to do so.
///
/// None of these methods reports a failure: a launch that the system refuses shows in a later
/// `isWhatsAppRunning`. Any thread may call them, except where a method says which.
@interface ZLTUtils (ProcessControl)

/// Launches an app in the background, 0.1 seconds later on the main queue, whether or not it runs
/// already. Logs "Trying to launch Whatsapp..." whatever the identifier and returns at once.
/// @param identifier The app's bundle identifier; nothing is launched for nil.
+ (void)launchApplication:(NSString *)identifier;

/// `launchApplication:` for the messaging app, unless `isWhatsAppRunning`.
+ (void)launchWhatsApp;

/// Launches the messaging app in the background, unless `isWhatsAppRunning`, and returns when that
/// was tried: in place on the main thread, and from any other thread through the main queue. The
/// main thread must not be waiting for that thread. Logs nothing.
+ (void)launchWhatsAppOnMainThread;

/// Makes sure that the messaging app runs and holds a fresh process assertion on it, in place of an
/// earlier one. Tries to launch the app again and again, without a pause and without end, until the
/// kernel's process table shows a process whose command name contains "WhatsApp".
///
/// The assertion is one for the process and not synchronised: start and stop it from one thread.
+ (void)startProcessAssertion;

/// Gives up the held process assertion and logs "************** Assertion invlidated for WhatsApp
/// ***************"; does nothing where none is held. From the thread that starts it.
+ (void)stopProcessAssertion;

@end

#endif
