// The terminal: whether it can be used, and that it is left as it was found, however the program
// ends.
#pragma once

#include <string>

// Why newt can't draw on this terminal, and what to do; empty when it can.
std::string terminalFault();

// Colours are off where the user asks for none: call these around newtInit.
void beginColourChoice();
void endColourChoice();

// Keeps newt from taking the terminal for an xterm while it runs forms, and lets the environment
// tell the truth again, for a child of the program and at its end.
//
// newt looks the terminal's type up in the environment each time that it runs a form, to decide
// how it reaches the mouse. On one whose type begins with "xterm" it loses count of that when
// forms nest, and crashes when the outer one ends.
void disguiseTerminal();
void undisguiseTerminal();

// From here on until releaseTerminal a signal that ends the program restores the terminal first,
// and the kernel's console level when it was switched off. newt has the terminal by then or gets
// it next. end is called when the terminal goes away without a signal; it ends the program.
void guardTerminal(bool consoleIsOff, void (*end)());
void releaseTerminal();

// Leaves the terminal to a child of the program as it was before newt had it, and takes it back
// whatever the child has made of it.
void lendTerminal();
void reclaimTerminal();

// Takes over from newt what a change of the terminal's size does. Call after newtInit, and again
// before and after newt runs a form: with the mouse, it puts a handler of its own before the one
// it finds there, and it can forget all of them in the end.
void watchSize();

// A file descriptor that is ready for reading when the terminal's size has changed, -1 when
// nothing is watched.
int resizeDescriptor();

// True once after each change of the size.
bool resizePending();

// Ends the program in order because its terminal is gone.
[[noreturn]] void endWithoutTerminal();
