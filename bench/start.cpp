// start.cpp - a program that does nothing: what it takes is what its libraries take to load.
int main()
{
    return 0;
}
