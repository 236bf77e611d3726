#include "tests/forth/ForthTestSupport.h"
#include <gtest/gtest.h>

namespace {

class ForthWords : public ::testing::TestWithParam<ForthCase> {};

TEST_P(ForthWords, TypesAndThrowsAsExpected)
{
    const ForthCase &row = GetParam();
    ForthRun forth;
    EXPECT_EQ(forth.run(QString::fromUtf8(row.source)), row.code) << forth.errors;
    EXPECT_EQ(forth.output, row.output);
    if (row.message) {
        EXPECT_EQ(forth.lastMessage, row.message);
    }
}

std::string caseName(const ::testing::TestParamInfo<ForthCase> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Stack, ForthWords, ::testing::Values(
    ForthCase{"dupDropSwapOver", "1 2 SWAP . . 3 DUP . . 4 5 OVER . . . 6 7 DROP .", "1 2 3 3 4 5 4 6 "},
    ForthCase{"rotAndMinusRot", "1 2 3 ROT . . . 1 2 3 -ROT . . .", "1 3 2 2 1 3 "},
    ForthCase{"nipTuck", "1 2 NIP . 1 2 TUCK . . .", "2 2 1 2 "},
    ForthCase{"pickRoll", "10 20 30 2 PICK . 10 20 30 2 ROLL . . .", "10 10 30 20 "},
    ForthCase{"pickOutOfRange", "1 5 PICK", "", -24},
    ForthCase{"questionDup", "0 ?DUP DEPTH . 3 ?DUP DEPTH .", "1 3 "},
    ForthCase{"twoWords", "1 2 3 4 2SWAP . . . . 1 2 2DUP . . . . 1 2 3 4 2OVER . . 2DROP 2DROP", "2 1 4 3 2 1 2 1 2 1 "},
    ForthCase{"returnStack", "1 >R 2 >R R@ . R> R> . . 3 4 2>R 2R@ . . 2R> . .", "2 1 2 4 3 4 3 "},
    ForthCase{"cellsKeepTheirType", "S\" x\" 1.5E0 SWAP . .", "x 1.5 "},
    ForthCase{"underflowIsMinusThree", "DROP", "", -3, "stack underflow"},
    ForthCase{"overflowOnThe513thPush", ": f 513 0 DO I LOOP ; f", "", -4, "stack overflow"},
    ForthCase{"512PushesFit", ": f 512 0 DO I LOOP ; f .", "511 "},
    ForthCase{"returnUnderflow", "R>", "", -6}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Arithmetic, ForthWords, ::testing::Values(
    ForthCase{"basics", "7 3 + . 7 3 - . 7 3 * . 7 3 / . 7 3 MOD . 7 3 /MOD . .", "10 4 21 2 1 2 1 "},
    ForthCase{"divideByZero", "1 0 /", "", -10, "divide by zero"},
    ForthCase{"modByZero", "1 0 MOD", "", -10},
    ForthCase{"starSlashByZeroIsCaught", "1 2 0 */", "", -10},
    ForthCase{"starSlashWide", "1000000000000 1000000 1000000 */ . 7 5 3 */MOD . .", "1000000000000 11 2 "},
    ForthCase{"minIntByMinusOne", "-9223372036854775808 -1 / .", "-9223372036854775808 "},
    ForthCase{"unary", "5 1+ . 5 1- . 5 2* . -6 2/ . -5 ABS . 5 NEGATE .", "6 4 10 -3 5 -5 "},
    ForthCase{"minMax", "3 9 MAX . 3 9 MIN .", "9 3 "},
    ForthCase{"bits", "12 10 AND . 12 10 OR . 12 10 XOR . 0 INVERT . 1 4 LSHIFT . 256 4 RSHIFT . 1 64 LSHIFT .", "8 14 6 -1 16 16 0 "},
    ForthCase{"floats", "1.5E0 2.5E0 + . 1E 4E / . 2.0E0 3.0E0 * . 5.5E0 1.5E0 - .", "4 0.25 6 4 "},
    ForthCase{"floatNotMixed", "1 1.0E0 +", "", -12, "invalid operand combination"},
    ForthCase{"stringNoArithmetic", "S\" a\" 1 +", "", -12},
    ForthCase{"floatWords", "1.7E0 FLOOR . 0E FSIN . 0E FCOS . 0E FTAN .", "1 0 1 0 "},
    ForthCase{"floorOfIntegerFails", "1 FLOOR", "", -24, "float required"},
    ForthCase{"floatOnlyWithExponent", "1.5 .", "", -13},
    ForthCase{"finalExponent", "2E .", "2 "},
    ForthCase{"negativeAndBase", "-15 . HEX FF . -10 . DECIMAL 10 .", "-15 FF -10 10 "},
    ForthCase{"wrapsOnOverflow", "9223372036854775807 1 + .", "-9223372036854775808 "}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Comparison, ForthWords, ::testing::Values(
    ForthCase{"signed", "1 2 < . 2 1 < . 1 2 > . 2 2 >= . 2 2 = . 2 3 <> .", "-1 0 0 -1 -1 -1 "},
    ForthCase{"unsigned", "-1 1 U< . -1 1 U> .", "0 -1 "},
    ForthCase{"zero", "0 0= . 5 0<> . -5 0< . 5 0> . 0 0>= .", "-1 -1 -1 -1 -1 "},
    ForthCase{"within", "5 1 10 WITHIN . 10 1 10 WITHIN .", "-1 0 "},
    ForthCase{"flags", "TRUE . FALSE .", "-1 0 "},
    ForthCase{"stringsEqual", "S\" ab\" S\" ab\" = . S\" ab\" S\" b\" = .", "-1 0 "},
    ForthCase{"orderOfStrings", "S\" a\" S\" b\" <", "", -12}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Memory, ForthWords, ::testing::Values(
    ForthCase{"variable", "VARIABLE v 5 v ! v @ . 3 v +! v @ .", "5 8 "},
    ForthCase{"createAndComma", "CREATE t 1 , 2 , 3 , t 2 + @ . HERE t - .", "3 3 "},
    ForthCase{"readPastRegion", "CREATE a 1 , CREATE b 2 , a 1 + @", "", -9, "cell fetch outside allotted region"},
    ForthCase{"storePastRegion", "VARIABLE v 1 v 1 + !", "", -9, "cell store outside allotted region"},
    ForthCase{"negativeIndex", "VARIABLE v v 1 - @", "", -9},
    ForthCase{"hereDiffersPerRegion", "CREATE a 5 ALLOT CREATE b HERE b - . a HERE - .", "0 ", -12, "invalid operand combination"},
    ForthCase{"allotShrinks", "CREATE a 5 ALLOT -3 ALLOT HERE a - .", "2 "},
    ForthCase{"allotBelowStart", "CREATE a 2 ALLOT -3 ALLOT", "", -24},
    ForthCase{"hugeAllot", "CREATE a 1000000000000 ALLOT", "", -24},
    ForthCase{"anonymousRegion", "HERE 7 , @ .", "7 "},
    ForthCase{"twoFetchStore", "CREATE p 2 ALLOT 1 2 p 2! p 2@ . .", "2 1 "},
    ForthCase{"move", "CREATE s 1 , 2 , 3 , CREATE d 3 ALLOT s d 3 MOVE d 2 + @ .", "3 "},
    ForthCase{"moveOverlapping", "CREATE s 1 , 2 , 3 , 0 , s s 1 + 3 MOVE s 3 + @ . s 1 + @ .", "3 1 "},
    ForthCase{"charsAndCount", "CREATE c 2 , 65 , 66 , c COUNT . @ . 5 CHARS . S\" abc\" COUNT . .", "2 65 5 3 abc "},
    ForthCase{"notAnAddress", "5 @", "", -9, "not a data address"},
    ForthCase{"addressesAreText", "VARIABLE v v .", "#<DATA-ADDRESS v+0> "},
    ForthCase{"emptyCellReadsAsZero", "VARIABLE v v @ 1 + .", "1 "}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Definitions, ForthWords, ::testing::Values(
    ForthCase{"colon", ": sq DUP * ; 7 sq .", "49 "},
    ForthCase{"namesAreCaseSensitive", "1 dup", "", -13},
    ForthCase{"constantValueTo", "5 CONSTANT five 1 VALUE v five . v . 9 TO v v . : set 3 TO v ; set v .", "5 1 9 3 "},
    ForthCase{"toWithoutStore", "5 CONSTANT c 1 TO c", "", -268},
    ForthCase{"noname", ":NONAME 42 . ; EXECUTE", "42 "},
    ForthCase{"doesWords", ": const CREATE , DOES> @ ; 12 const twelve twelve .", "12 "},
    ForthCase{"doesArray", ": arr CREATE ALLOT DOES> + ; 3 arr a 7 1 a ! 1 a @ .", "7 "},
    ForthCase{"toBody", "CREATE x 3 , ' x >BODY @ .", "3 "},
    ForthCase{"toBodyOfColon", ": y ; ' y >BODY", "", -1, "y does not have a PFA"},
    ForthCase{"tickExecute", "' DUP 4 SWAP EXECUTE . .", "4 4 "},
    ForthCase{"codeAddressText", "' DUP .", "#<CODE-ADDRESS DUP> "},
    ForthCase{"executeNeedsCode", "5 EXECUTE", "", -9, "not a code address"},
    ForthCase{"immediateAndPostpone", ": x 1 . ; IMMEDIATE : y x ; : z POSTPONE x ; IMMEDIATE : w z ;", "1 1 "},
    ForthCase{"postponeNonImmediate", ": c POSTPONE DUP ; IMMEDIATE : d c * ; 5 d .", "25 "},
    ForthCase{"compileComma", ": c ['] DUP COMPILE, ; IMMEDIATE : d c + ; 4 d .", "8 "},
    ForthCase{"literalAndBrackets", ": x [ 3 4 + ] LITERAL . ; x", "7 "},
    ForthCase{"chars", "CHAR A . : x [CHAR] B . ; x", "65 66 "},
    ForthCase{"recurse", ": fact DUP 1 > IF DUP 1- RECURSE * THEN ; 10 fact .", "3628800 "},
    ForthCase{"exit", ": x 1 . EXIT 2 . ; x", "1 "},
    ForthCase{"stateVariable", "STATE @ . : y STATE @ . ; IMMEDIATE : z y ;", "0 1 "},
    ForthCase{"semicolonWithoutColon", ";", "", -22, "no <colon-sys> on control stack; unterminated control structure"},
    ForthCase{"openIfAtSemicolon", ": x IF ;", "", -22},
    ForthCase{"unterminatedDefinition", ": x 1 2", "", -39},
    ForthCase{"ifWhileInterpreting", "1 IF", "", -14},
    ForthCase{"smudgeHidesOwnName", ": x 1 ; : x x 1+ ; x .", "2 "},
    ForthCase{"missingName", ":", "", -16},
    ForthCase{"bracketCompile", ": x [COMPILE] ( ; IMMEDIATE : y x hidden) 5 . ; y", "5 "}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Control, ForthWords, ::testing::Values(
    ForthCase{"ifElseThen", ": t IF 1 ELSE 2 THEN . ; -1 t 0 t", "1 2 "},
    ForthCase{"beginUntil", ": t 0 BEGIN 1+ DUP 3 = UNTIL . ; t", "3 "},
    ForthCase{"beginWhileRepeat", ": t 0 BEGIN DUP 3 < WHILE 1+ REPEAT . ; t", "3 "},
    ForthCase{"beginAgainExit", ": t 0 BEGIN 1+ DUP 4 = IF . EXIT THEN AGAIN ; t", "4 "},
    ForthCase{"doLoop", ": t 3 0 DO I . LOOP ; t", "0 1 2 "},
    ForthCase{"equalLimitRunsOnce", ": t 0 0 DO I . LOOP ; t", "0 "},
    ForthCase{"questionDoSkips", ": t 0 0 ?DO I . LOOP 9 . ; t", "9 "},
    ForthCase{"plusLoop", ": t 10 0 DO I . 3 +LOOP ; t : u 0 10 DO I . -4 +LOOP ; u", "0 3 6 9 10 6 2 "},
    ForthCase{"nestedJ", ": t 2 0 DO 2 0 DO J . I . LOOP LOOP ; t", "0 0 0 1 1 0 1 1 "},
    ForthCase{"leave", ": t 10 0 DO I DUP . 2 = IF LEAVE THEN LOOP 9 . ; t", "0 1 2 9 "},
    ForthCase{"leaveOutsideDo", ": t LEAVE ;", "", -257},
    ForthCase{"iOutsideLoop", "I", "", -26},
    ForthCase{"loopWithoutDo", ": t LOOP ;", "", -22},
    ForthCase{"thenWithoutIf", ": t THEN ;", "", -22, "control structure mismatch"},
    ForthCase{"case", ": t CASE 1 OF 10 . ENDOF 2 OF 20 . ENDOF 99 . ENDCASE ; 1 t 2 t 3 t", "10 20 99 "},
    ForthCase{"ofOutsideCase", ": t 1 OF ;", "", -22},
    ForthCase{"ahead", ": t [ AHEAD ] 1 . THEN 2 . ; t", "2 "},
    ForthCase{"conditionalText", "1 [IF] 1 . [ELSE] 2 . [THEN] 0 [IF] 3 . [ELSE] 4 . [THEN]", "1 4 "},
    ForthCase{"nestedConditional", "0 [IF] [IF] 1 . [THEN] 2 . [ELSE] 3 . [THEN]", "3 "},
    ForthCase{"unterminatedIf", "0 [IF] 1 .", "", -39},
    ForthCase{"defined", "[DEFINED] DUP . [UNDEFINED] NOPE .", "-1 -1 "},
    ForthCase{"unloopExit", ": t 5 0 DO I 2 = IF UNLOOP EXIT THEN I . LOOP ; t t", "0 1 0 1 "}),
    caseName);

INSTANTIATE_TEST_SUITE_P(InputOutput, ForthWords, ::testing::Values(
    ForthCase{"dotQuote", ": t .\" hi there\" CR ; t .\" now\"", "hi there\nnow"},
    ForthCase{"sQuoteIsOneCell", "S\" abc\" DEPTH . .", "1 abc "},
    ForthCase{"unterminatedString", "S\" abc", "", -39},
    ForthCase{"comments", "1 ( two\nthree ) . \\ ignored\n2 .", "1 2 "},
    ForthCase{"dotParen", ".( hello) 1 .", "hello1 "},
    ForthCase{"dotR", "42 5 .R", "   42"},
    ForthCase{"dotS", "1 2 .S", "<2> 1 2 "},
    ForthCase{"emitSpaces", "65 EMIT SPACE 66 EMIT 3 SPACES 67 EMIT", "A B   C"},
    ForthCase{"typeString", "S\" txt\" TYPE", "txt"},
    ForthCase{"typeCells", "CREATE m 72 , 105 , m 2 TYPE", "Hi"},
    ForthCase{"word", "32 WORD   abc . 41 PARSE x y) .", "abc x y "},
    ForthCase{"toNumber", "0 0 S\" 123x\" >NUMBER . . .", "x 0 123 "},
    ForthCase{"sourceId", "SOURCE-ID .", "-1 "},
    ForthCase{"restoreOtherLineFails", "0 9 2 RESTORE-INPUT .", "-1 "},
    ForthCase{"evaluate", "S\" 1 2 + .\" EVALUATE", "3 "},
    ForthCase{"floatText", "1.0E10 . 0.5E0 .", "1e+10 0.5 "}),
    caseName);

INSTANTIATE_TEST_SUITE_P(OwnWords, ForthWords, ::testing::Values(
    ForthCase{"joinStrings", "S\" ab\" S\" cd\" ,, DEPTH . .", "1 abcd "},
    ForthCase{"joinNumbers", "1 2 ,, .", "12 "},
    ForthCase{"joinAnyCells", "S\" x=\" 1.5E0 ,, .", "x=1.5 "},
    ForthCase{"htmlEscape", "S\" a b\" HTML-ESCAPE .", "a%20b "},
    ForthCase{"htmlEscapeSymbols", "S\" a/b?\" HTML-ESCAPE .", "a%2fb%3f "},
    ForthCase{"stringArg", "S\" n=%1!\" 42 STRING-ARG .", "n=42! "},
    ForthCase{"stringArgTwoMarkers", "S\" %1-%2\" 1 STRING-ARG 2 STRING-ARG .", "1-2 "},
    ForthCase{"stringArgNoMarker", "S\" plain\" 1 STRING-ARG .", "plain "},
    ForthCase{"htmlEscapeNeedsString", "5 HTML-ESCAPE", "", -24, "string required"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Locals, ForthWords, ::testing::Values(
    ForthCase{"locals", ": t LOCALS| a b | a . b . ; 1 2 t", "2 1 "},
    ForthCase{"localsRecursion", ": t LOCALS| n | n 0 > IF n 1- RECURSE n . THEN ; 3 t", "1 2 3 "},
    ForthCase{"toLocal", ": t LOCALS| a | 5 TO a a . ; 1 t", "5 "},
    ForthCase{"temps", ": t TEMPS| x | 7 TO x x . ; t DEPTH .", "7 0 "},
    ForthCase{"parenLocal", ": l S\" q\" (LOCAL) ; IMMEDIATE : t l q . ; 4 t", "4 "},
    ForthCase{"localsEndAtSemicolon", ": t LOCALS| a | ; a", "", -13},
    ForthCase{"localsOutsideDefinition", "LOCALS| a |", "", -14}),
    caseName);

INSTANTIATE_TEST_SUITE_P(Exceptions, ForthWords, ::testing::Values(
    ForthCase{"catchUndefined", ": t S\" nope\" EVALUATE ; ' t CATCH .", "-13 "},
    ForthCase{"catchNormal", ": t 5 ; ' t CATCH . .", "0 5 "},
    ForthCase{"catchRestoresDepth", ": t 1 2 3 99 THROW ; 7 ' t CATCH . DEPTH .", "99 1 "},
    ForthCase{"throwZero", "0 THROW 1 .", "1 "},
    ForthCase{"userCodeText", "-100 THROW", "", -100, ""},
    ForthCase{"positiveCodeText", "5 THROW", "", 5, "5 THROW undefined"},
    ForthCase{"abort", "ABORT", "", -1, "abort thrown"},
    ForthCase{"runawayRecursion", ": s RECURSE ; ' s CATCH .", "-5 "},
    ForthCase{"localExecution", ": t LOCALS| a | ['] a ;", "", -13}),
    caseName);

INSTANTIATE_TEST_SUITE_P(SearchOrder, ForthWords, ::testing::Values(
    ForthCase{"vocabulary", "VOCABULARY v ALSO v DEFINITIONS : x 1 . ; PREVIOUS DEFINITIONS x", "", -13},
    ForthCase{"vocabularyFound", "VOCABULARY v ALSO v DEFINITIONS : x 1 . ; x ONLY FORTH", "1 "},
    ForthCase{"getOrder", "GET-ORDER . . WORDLIST . GET-CURRENT .", "1 0 1 0 "},
    ForthCase{"setOrderTooMany", "0 0 0 0 0 0 0 0 0 9 SET-ORDER", "", -49},
    ForthCase{"setOrderBadList", "77 1 SET-ORDER", "", -266},
    ForthCase{"setOrderMinimum", "-1 SET-ORDER GET-ORDER . .", "1 0 "},
    ForthCase{"previousOnEmpty", ": p PREVIOUS PREVIOUS ; p", "", -50},
    ForthCase{"searchWordlist", "S\" DUP\" FORTH-WORDLIST SEARCH-WORDLIST . DROP S\" ;\" FORTH-WORDLIST SEARCH-WORDLIST . DROP S\" none\" 0 SEARCH-WORDLIST .", "-1 1 0 "},
    ForthCase{"find", "S\" DUP\" FIND . DROP S\" nope\" FIND . .", "-1 0 nope "},
    ForthCase{"anonymousList", "WORDLIST DUP SET-CURRENT : z 5 . ; 1 SET-ORDER z", "5 "}),
    caseName);

// A literal and an arithmetic word, and a variable and @ or !, run as one instruction; calls of
// colon definitions run in place. Each must behave as the separate words do, at the stack's
// limits and on other cell types too.
INSTANTIATE_TEST_SUITE_P(JoinedInstructions, ForthWords, ::testing::Values(
    ForthCase{"literalPlus", ": t 3 + ; 4 t .", "7 "},
    ForthCase{"literalPlusOnFloat", ": t 3 + ; 1.5E0 t .", "", -12, "invalid operand combination"},
    ForthCase{"literalPlusOnEmpty", ": t 3 + ; t", "", -3},
    ForthCase{"literalChain", ": t 5 - 7 * 12 AND 3 OR 6 XOR ; 10 t .", "5 "},
    ForthCase{"literalComparisons", ": t 5 < SWAP 5 > ROT 5 = ; 4 6 5 t . . .", "0 -1 0 "},
    ForthCase{"variableFetchStore", "VARIABLE v 5 v ! : t v @ 1+ v ! v @ ; t . v @ .", "6 6 "},
    ForthCase{"createWithDoes", ": keep CREATE 0 , DOES> ; keep k : t 7 k ! k @ ; t .", "7 "},
    ForthCase{"branchIntoSecondHalf", ": t IF 3 ELSE 4 THEN + ; 10 1 t . 10 0 t .", "13 14 "},
    ForthCase{"literalOnFullStack", ": f 512 0 DO I LOOP 1 + ; f", "", -4},
    ForthCase{"literalBelowFullStack", ": f 511 0 DO I LOOP 1 + ; f . DEPTH .", "511 510 "},
    ForthCase{"fetchOnFullStack", "VARIABLE w : f 512 0 DO I LOOP w @ ; f", "", -4},
    ForthCase{"storeBelowFullStack", "VARIABLE w : f 511 0 DO I LOOP w ! ; f DEPTH . w @ .", "510 510 "},
    ForthCase{"exitFromCalledWord", ": a 1+ ; : b a a ; : c b EXIT b ; 0 c .", "2 "},
    ForthCase{"deepRecursion", ": down DUP 0= IF EXIT THEN 1- RECURSE ; 99990 down .", "0 "},
    ForthCase{"recursionBeyondTheLimit", ": down DUP 0= IF EXIT THEN 1- RECURSE ; 100000 down .", "", -5},
    ForthCase{"throwInsideCalls", ": inner 99 THROW ; : outer inner 1 ; ' outer CATCH . DEPTH .", "99 0 "},
    ForthCase{"callsWithLocals", ": l LOCALS| x | x 1+ ; : m 4 l 5 l + ; m .", "11 "}),
    caseName);

} // namespace
