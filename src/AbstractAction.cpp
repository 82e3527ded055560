#include "AbstractAction.h"

#include <ostream>

// Here and not in the header, so that the library exports them.
AbstractAction::AbstractAction() = default;
AbstractAction::AbstractAction(const AbstractAction&) = default;
AbstractAction& AbstractAction::operator=(const AbstractAction&) = default;
AbstractAction::~AbstractAction() = default;

void AbstractAction::addInformation(std::ostream& /*os*/) const {}
