#include "sdk/studiointerface.h"

StudioInterface::~StudioInterface() = default;
