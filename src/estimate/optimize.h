// The Newton optimiser shared by the likelihood commands: steps from the evaluator's matrix and
// gradient, halvings of a step that makes the objective rise, the objective, coefficient and
// gradient tests, and the iteration log. It knows nothing of any model: a command gives it an
// evaluator, a function object over the coefficients.
//
// The objective is minimised: a likelihood command gives the negative log likelihood, and the log
// shows the negative of the objective under the command's word ("log likelihood").
#pragma once
#include <functional>
#include <string>
#include <vector>

namespace est {

// What the evaluator is asked for.
enum EvalWant : int {
    EVAL_OBJECTIVE = 0, // the objective alone (a trial step)
    EVAL_DERIVS = 1,    // the objective, its gradient and its Hessian
};

// The status of a run.
enum OptStatus : int {
    OPT_RUNNING = 0,
    OPT_COEF = 1,     // converged on the coefficients
    OPT_OBJ = 2,      // converged on the objective
    OPT_ITER = 3,     // the iteration limit was reached
    OPT_SINGULAR = 4, // the Hessian was singular at the end
};

struct Optimizer {
    // evaluator(b, want, &objective, gradient, hessian): k coefficients in; the objective out (a
    // missing value, or any value that is not finite, is taken as the model cannot be evaluated
    // there); with EVAL_DERIVS also the k gradient of the objective and the k by k Hessian of the
    // objective, row by row (for a likelihood: the negative Hessian of the log likelihood). 0, or a
    // return code with the message written, which the optimiser passes on unchanged.
    std::function<int(const std::vector<double> &b, int want, double *objective,
                      std::vector<double> &gradient, std::vector<double> &hessian)>
        evaluator;

    // Limits and tolerances: the caller's (the optimiser has no defaults of its own beyond these).
    int maxIterations = 16000;
    double logTolerance = 1e-7;      // relative change of the objective; 0 leaves the test out
    double coefTolerance = 1e-6;     // relative step of every coefficient
    double gradientTolerance = 1e-5; // g'Vg once converged; 0 leaves the test out
    bool coefTestOnStep = false;     // the coefficient test also stops a run before the trial

    // The Hessian is inverted by the sweep (collinear columns dropped, their rows and columns 0);
    // false: each step solved densely, and at the end the inverse is tried once.
    bool invert = true;
    // With invert false: a Hessian that cannot be inverted at the end makes the status 4 and the
    // diagonal of V 0.
    bool flagSingular = false;

    bool showLog = true;
    bool showCoefficients = false;
    std::string word = "log likelihood";
    // Negate the objective for the log (the objective being a negative log likelihood).
    bool negate = true;

    // Out.
    int iterations = 0;
    int status = OPT_RUNNING;
    double objective = 0;         // at the final coefficients (missing when it could not be evaluated)
    std::vector<double> gradient; // of the objective at the final coefficients
    std::vector<double> V;        // the inverse of the final Hessian (k by k): the variance of the estimates
    std::vector<unsigned char> dropped; // by coefficient: dropped by the sweep (collinear)
    int ndropped = 0;
};

// Minimises o.objective from the starting coefficients b (updated in place). 0 with o.status set
// (1 to 4); 430 "flat region resulting in a missing likelihood" when the objective is missing after
// a step, 430 "convergence not achieved" after more than 50 halvings in one iteration; any code of
// the evaluator; 1 on Break; 909. A status of 3 is not a failure here: the command decides.
int optimize(Optimizer &o, std::vector<double> &b);

// The iteration log's line for iteration it at objective value v (already negated), with the
// given halvings: "Iteration %d:", blanks to column 16, the word, " = ", the value as %10.0g, and
// "  (backed up)" from 6 halvings. Rimu, ending with a newline.
std::string iteration_line(int it, const std::string &word, double v, int halvings);

} // namespace est
