// What nearly every test includes: compiled once for all.
#pragma once

#ifdef __OBJC__
#import <Foundation/Foundation.h>
#endif

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>
