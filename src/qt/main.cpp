// quillon: the desktop test bench.
#include "qt/BenchMain.h"

int main(int argc, char** argv)
{
    EndProcess(RunBench(argc, argv));
}
