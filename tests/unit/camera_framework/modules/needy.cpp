// A module that uses something which no process offers.
namespace nobody {

int offers(const char* text);

}

extern "C" __attribute__((visibility("default"))) int loaderNeedyAnswer()
{
    return nobody::offers("anything");
}
