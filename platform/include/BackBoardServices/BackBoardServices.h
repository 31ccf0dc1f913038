// BackBoardServices as far as this library uses it.
#pragma once

#import <BackBoardServices/BKSProcessAssertion.h>
