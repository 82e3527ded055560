#ifndef QUARNEL_ABSTRACT_ACTION_H
#define QUARNEL_ABSTRACT_ACTION_H

#include <iosfwd>

/// An action of the application.
///
/// The library keeps and deletes actions; what one does is decided by the application's
/// `takeAction()`, which finds it by `ActionValueFunction::getActiveAction()` or by its index. An
/// action may carry data of its own in a derived class.
class AbstractAction {
 public:
  AbstractAction();

  /// An action has nothing to copy; a derived class may.
  AbstractAction(const AbstractAction&);

  /// An action has nothing to copy; a derived class may. @return this action.
  AbstractAction& operator=(const AbstractAction&);

  virtual ~AbstractAction();

  /// Describes the action, for output of the application's own; writes nothing unless overridden.
  ///
  /// @param os the stream to write to.
  virtual void addInformation(std::ostream& os) const;
};

#endif
