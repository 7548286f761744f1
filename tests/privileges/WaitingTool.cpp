// A tool that takes as long as it is let.

#include <unistd.h>

int main() {
    for (;;) {
        ::pause();
    }
}
