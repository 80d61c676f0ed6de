// Numerical functions of the expression language: the distributions, their inverses and densities,
// and the gamma family. Every function gives `.` for a missing argument or one outside its domain.
#pragma once

namespace data::xm {

double dot(); // the missing value `.`
bool miss(double x);

double normal(double z);
double lnnormal(double z);
double invnormal(double p);
double normalden(double z);
double lnnormalden(double z);

double lngamma(double x);
double digamma(double x);
double trigamma(double x);
double lnfactorial(double n);
double comb(double n, double k);

double gammap(double a, double x);
double gammaptail(double a, double x);
double invgammap(double a, double p);
double invgammaptail(double a, double q);
double dgammapda(double a, double x);
double dgammapdx(double a, double x);
double dgammapdada(double a, double x);
double dgammapdadx(double a, double x);
double dgammapdxdx(double a, double x);
double gammaden(double a, double b, double g, double x);

double ibeta(double a, double b, double x);
double ibetatail(double a, double b, double x);
double invibeta(double a, double b, double p);
double invibetatail(double a, double b, double q);
double betaden(double a, double b, double x);

double chi2(double n, double x);
double chi2tail(double n, double x);
double invchi2(double n, double p);
double invchi2tail(double n, double q);

double F(double n1, double n2, double f);
double Ftail(double n1, double n2, double f);
double invF(double n1, double n2, double p);
double invFtail(double n1, double n2, double q);
double Fden(double n1, double n2, double f);

double ttail(double n, double t);
double invttail(double n, double q);
double tden(double n, double t);
double tprob(double n, double t);

double nchi2(double n, double L, double x);
double invnchi2(double n, double L, double p);
double npnchi2(double n, double x, double p);
double nibeta(double a, double b, double L, double x);
double invnibeta(double a, double b, double L, double p);
double nbetaden(double a, double b, double L, double x);
double nFden(double n1, double n2, double L, double f);
double nFtail(double n1, double n2, double L, double f);
double invnFtail(double n1, double n2, double L, double q);

double binomial(double n, double k, double p);
double binomialtail(double n, double k, double p);
double binomialp(double n, double k, double p);
double invbinomial(double n, double k, double P);
double invbinomialtail(double n, double k, double P);
double poisson(double m, double k);
double poissontail(double m, double k);
double poissonp(double m, double k);
double invpoisson(double k, double p);
double invpoissontail(double k, double q);
double nbinomial(double n, double k, double p);
double nbinomialtail(double n, double k, double p);
double nbinomialp(double n, double k, double p);
double invnbinomial(double n, double k, double q);
double invnbinomialtail(double n, double k, double q);
double hypergeometric(double N, double K, double n, double k);
double hypergeometricp(double N, double K, double n, double k);

double binormal(double h, double k, double r);

} // namespace data::xm
