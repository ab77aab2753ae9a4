#include "appstate.h"

AppState &APP_State()
{
    static auto *const state = new AppState{};
    return *state;
}
