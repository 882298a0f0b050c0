// The calls of yat/ft.h on this server. They throw yat::Problem when the kernel can't be asked.
#pragma once

#include "yat/ft.h"

namespace host {

int createTree(yat_device **root);
int freeTree(yat_device **root);
int isFt(int);
int getProperty(int kind, int number, int property, char *buffer, unsigned long *size);
int statusChange(int kind, int number, int code, char *text);
int ifSupport(yat_device *device, int code, int *detail);
int operation(yat_device *device, int code);
int operationWithText(yat_device *device, int code, const char *text);
int setting(int kind, int object, int index, int *value);

// Forgets what was read.
void forget();

} // namespace host
