// C99's mathematics, which the C++ headers bring into namespace std whole.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef float float_t;
typedef double double_t;

#define FP_NAN 1
#define FP_INFINITE 2
#define FP_ZERO 3
#define FP_NORMAL 4
#define FP_SUBNORMAL 5

#define HUGE_VAL __builtin_huge_val()
#define HUGE_VALF __builtin_huge_valf()
#define HUGE_VALL __builtin_huge_vall()
#define INFINITY __builtin_inff()
#define NAN __builtin_nanf("")

#define VELTRO_MATH_1(name)                                                                        \
  double name(double);                                                                             \
  float name##f(float);                                                                            \
  long double name##l(long double);
#define VELTRO_MATH_2(name)                                                                        \
  double name(double, double);                                                                     \
  float name##f(float, float);                                                                     \
  long double name##l(long double, long double);

VELTRO_MATH_1(acos)
VELTRO_MATH_1(asin)
VELTRO_MATH_1(atan)
VELTRO_MATH_1(ceil)
VELTRO_MATH_1(cos)
VELTRO_MATH_1(cosh)
VELTRO_MATH_1(exp)
VELTRO_MATH_1(fabs)
VELTRO_MATH_1(floor)
VELTRO_MATH_1(log)
VELTRO_MATH_1(log10)
VELTRO_MATH_1(sin)
VELTRO_MATH_1(sinh)
VELTRO_MATH_1(sqrt)
VELTRO_MATH_1(tan)
VELTRO_MATH_1(tanh)
VELTRO_MATH_1(acosh)
VELTRO_MATH_1(asinh)
VELTRO_MATH_1(atanh)
VELTRO_MATH_1(cbrt)
VELTRO_MATH_1(erf)
VELTRO_MATH_1(erfc)
VELTRO_MATH_1(exp2)
VELTRO_MATH_1(expm1)
VELTRO_MATH_1(lgamma)
VELTRO_MATH_1(log1p)
VELTRO_MATH_1(log2)
VELTRO_MATH_1(logb)
VELTRO_MATH_1(nearbyint)
VELTRO_MATH_1(rint)
VELTRO_MATH_1(round)
VELTRO_MATH_1(tgamma)
VELTRO_MATH_1(trunc)
VELTRO_MATH_2(atan2)
VELTRO_MATH_2(fmod)
VELTRO_MATH_2(pow)
VELTRO_MATH_2(copysign)
VELTRO_MATH_2(fdim)
VELTRO_MATH_2(fmax)
VELTRO_MATH_2(fmin)
VELTRO_MATH_2(hypot)
VELTRO_MATH_2(nextafter)
VELTRO_MATH_2(remainder)

double frexp(double, int *);
float frexpf(float, int *);
long double frexpl(long double, int *);
double ldexp(double, int);
float ldexpf(float, int);
long double ldexpl(long double, int);
double modf(double, double *);
float modff(float, float *);
long double modfl(long double, long double *);
double fma(double, double, double);
float fmaf(float, float, float);
long double fmal(long double, long double, long double);
int ilogb(double);
int ilogbf(float);
int ilogbl(long double);
long long llrint(double);
long long llrintf(float);
long long llrintl(long double);
long long llround(double);
long long llroundf(float);
long long llroundl(long double);
long lrint(double);
long lrintf(float);
long lrintl(long double);
long lround(double);
long lroundf(float);
long lroundl(long double);
double nan(const char *);
float nanf(const char *);
long double nanl(const char *);
double nexttoward(double, long double);
float nexttowardf(float, long double);
long double nexttowardl(long double, long double);
double remquo(double, double, int *);
float remquof(float, float, int *);
long double remquol(long double, long double, int *);
double scalbln(double, long);
float scalblnf(float, long);
long double scalblnl(long double, long);
double scalbn(double, int);
float scalbnf(float, int);
long double scalbnl(long double, int);

#undef VELTRO_MATH_1
#undef VELTRO_MATH_2

#ifdef __cplusplus
}
#endif
