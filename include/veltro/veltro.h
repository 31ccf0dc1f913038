// libveltro: everything that the library offers.
#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/NSDate+Veltro.h>
#import <veltro/NSDate+ZLT.h>
#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTActivityAlertView.h>
#import <veltro/ZLTKeyChain.h>
#import <veltro/ZLTKeyChainQuery.h>
#import <veltro/ZLTLoadingView.h>
#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Apps.h>
#import <veltro/ZLTUtils+Base64.h>
#import <veltro/ZLTUtils+Channel.h>
#import <veltro/ZLTUtils+Images.h>
#import <veltro/ZLTUtils+ProcessControl.h>
#import <veltro/ZLTUtils+ProcessTable.h>
#import <veltro/ZLTUtils+System.h>
#import <veltro/ZLTUtils+Vibration.h>
#import <veltro/ZLTUtils.h>
#import <veltro/ZLTWhatsAppMessage.h>

#endif
