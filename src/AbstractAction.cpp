#include "AbstractAction.h"

#include <ostream>

AbstractAction::~AbstractAction() = default;

void AbstractAction::addInformation(std::ostream& /*os*/) const {}
