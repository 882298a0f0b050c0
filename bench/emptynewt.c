/* SPDX-License-Identifier: GPL-2.0-or-later */
/* What a newt program takes at least: a window with a button. Escape ends it. */
#include <locale.h>
#include <newt.h>

int main(void)
{
    setlocale(LC_ALL, "");
    newtInit();
    newtCls();
    newtCenteredWindow(20, 5, "Empty");
    newtComponent form = newtForm(NULL, NULL, 0);
    newtFormAddComponent(form, newtButton(6, 1, "Exit"));
    newtRunForm(form);
    newtFormDestroy(form);
    newtFinished();
    return 0;
}
