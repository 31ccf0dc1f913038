#pragma once

typedef struct {
  char opaque[128];
} mbstate_t;
