// Compiled for its precompiled headers alone, which the test programs use.
int main() {}
