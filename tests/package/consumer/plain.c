#include "parts.h"

#include <notify.h>

int notifications_arrive(void) {
  int token = 0;
  int posted = 0;
  notify_register_check("consumer.test", &token);
  notify_check(token, &posted);
  notify_post("consumer.test");
  notify_check(token, &posted);
  notify_cancel(token);
  return posted;
}
