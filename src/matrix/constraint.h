// Linear constraints on coefficients: the numbered definitions of `constraint` (store kind 13), the
// constraint matrix of `matrix makeCns` built from them against e(b), and `matrix dispCns`.
#pragma once
#include <string>
#include <vector>

#include "matrix/matstore.h"

namespace mat {

inline constexpr int CNS_MAX = 1999;

// constraint define # text | # text | dir [numlist] | list [numlist] | drop numlist|_all | get # | free
int cmd_constraint(int);
// matrix makeCns [numlist]: one row per constraint, the weights on e(b)'s columns and then the
// constant; a constraint that depends on those before it is dropped with a note.
int cmd_makecns(int);
int cmd_dispcns(int);

// The text of constraint n; false when it is not defined.
bool cns_text(int n, std::string &text);
// The numbers defined, in ascending order.
std::vector<int> cns_defined();
// The matrix of the last makeCns, while e() stands; false when there is none.
bool cns_in_force(Matrix &m);
// Clearing e() forgets the constraints in force (the definitions stay).
void cns_reset();

} // namespace mat
