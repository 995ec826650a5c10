#include "Ending.h"
#include "ObriApplication.h"
#include <iostream>

int main(int argc, char** argv)
{
    std::cout << "Running obri-camctl v0.3-alpha1" << std::endl;
    gApp = ObriApplication::create();
    const int status = gApp->run(argc, argv);
    if (gApp->isObriMode)
        endProcess(status); // the streaming thread is running: static objects must stay
    return status;
}
