#include "ObriCam.h"

SVideoDevice& obriCam()
{
    static constinit SVideoDevice sObriCam{};
    return sObriCam;
}
