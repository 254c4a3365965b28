// A layout that clang-format has to refuse, or lint is not on. No build compiles this file.
int   twoBlanks( ) ;
