#include <gmock/gmock.h>
#include <quarnel/AbstractAction.h>

#include <memory>
#include <sstream>
#include <type_traits>

namespace {

class Move : public AbstractAction {
 public:
  explicit Move(int newSteps, int* newDeletions = nullptr)
      : steps(newSteps), deletions(newDeletions) {}
  Move(const Move&) = default;
  Move& operator=(const Move&) = default;
  ~Move() override {
    if (deletions != nullptr) {
      ++*deletions;
    }
  }

  void addInformation(std::ostream& os) const override { os << "move by " << steps; }

 private:
  int steps;
  int* deletions;
};

std::string informationOf(const AbstractAction& action) {
  std::ostringstream os;
  action.addInformation(os);
  return os.str();
}

TEST(AbstractAction, StandsForItselfWithoutBeingDerived) {
  EXPECT_TRUE(std::is_default_constructible_v<AbstractAction>);
  EXPECT_FALSE(std::is_abstract_v<AbstractAction>);
}

TEST(AbstractAction, HoldsNothingButItsType) {
  EXPECT_TRUE(std::is_polymorphic_v<AbstractAction>);
  EXPECT_EQ(sizeof(AbstractAction), sizeof(void*));
}

TEST(AbstractAction, WritesNoInformationUnlessOverridden) {
  std::ostringstream os;
  os << "before";
  AbstractAction().addInformation(os);
  EXPECT_EQ(os.str(), "before");
  EXPECT_TRUE(os.good());
}

TEST(AbstractAction, WritesTheInformationOfTheApplicationsAction) {
  const std::unique_ptr<const AbstractAction> action = std::make_unique<Move>(3);
  EXPECT_EQ(informationOf(*action), "move by 3");
}

TEST(AbstractAction, IsDeletedAsWhatTheApplicationMadeOfIt) {
  EXPECT_TRUE(std::has_virtual_destructor_v<AbstractAction>);
  int deletions = 0;
  const AbstractAction* const action = new Move(3, &deletions);
  EXPECT_EQ(deletions, 0);
  delete action;
  EXPECT_EQ(deletions, 1);
}

TEST(AbstractAction, CanBeCopied) {
  EXPECT_TRUE(std::is_copy_constructible_v<AbstractAction>);
  EXPECT_TRUE(std::is_copy_assignable_v<AbstractAction>);
  const Move action(3);
  Move copy(action);
  EXPECT_EQ(informationOf(copy), "move by 3");
  copy = Move(4);
  EXPECT_EQ(informationOf(copy), "move by 4");
  EXPECT_EQ(informationOf(action), "move by 3");
}

}  // namespace
