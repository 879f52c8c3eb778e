// empty.cpp - a library that does nothing: what it adds to a program's start any library adds.
extern int qorEmpty;
int qorEmpty = 0;
