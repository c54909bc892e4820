import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import english from '../../../web/app/languages/en.js';

/** Reads the page's scripts with the type checker, which knows where a literal is the key of a text. */

const require = createRequire(new URL('../../../web/package.json', import.meta.url));
/** @type {typeof import('typescript')} */
const ts = require('typescript');

/** @typedef {import('typescript').Node} Node */
/** @typedef {import('typescript').Expression} Expression */
/** @typedef {import('typescript').Type} Type */

const config = fileURLToPath(new URL('../../../web/tsconfig.json', import.meta.url));
const keys = Object.keys(english);

/** Attributes that people see or hear. */
const shownAttributes = new Set(['alt', 'aria-description', 'aria-label', 'aria-valuetext', 'placeholder', 'title']);

/** Which arguments of these functions people see or hear. */
const shownArguments = /** @type {Record<string, (args: Expression[]) => Expression[]>} */ ({
    append: (args) => args,
    describe: ([words]) => [words],
    element: ([tag, attributes, ...children]) => [...attributesIn(attributes), ...(isSample(tag) ? [] : children)],
    openMenu: ([label]) => [label],
    prepend: (args) => args,
    replaceChildren: (args) => args,
    setAttribute: ([, name, value]) => (isShown(name) ? [value] : []),
    setText: ([, words]) => [words],
    toast: ([message]) => [message],
});

/** Values of a text that come from files and devices. */
const names = new Set(['filter', 'name', 'title']);

/** @type {import('typescript').TypeChecker} */
let checker;

/** All nodes of the page's scripts. @type {Node[]} */
let nodes;

before(() => {
    const host = { ...ts.sys, onUnRecoverableConfigFileDiagnostic: () => assert.fail(config) };
    const parsed = ts.getParsedCommandLineOfConfigFile(config, {}, host);
    const scripts = parsed?.fileNames.filter((name) => /\/web\/app\/(?!languages\/)/.test(name)) ?? [];
    const program = ts.createProgram(scripts, parsed?.options ?? {});
    checker = program.getTypeChecker();
    nodes = scripts.flatMap((name) => descendants(/** @type {Node} */ (program.getSourceFile(name))));
});

/**
 * @param {Node} node
 * @returns {Node[]}
 */
function descendants(node) {
    /** @type {Node[]} */
    const found = [node];
    ts.forEachChild(node, (child) => void found.push(...descendants(child)));
    return found;
}

/** What people copy is the same in each language. @param {Expression} tag */
function isSample(tag) {
    return ts.isStringLiteral(tag) && tag.text === 'pre';
}

/** The strings that a value of this type can be, if it is one of a few. @param {Type | undefined} type */
function strings(type) {
    const parts = type?.isUnion() ? type.types : type ? [type] : [];
    return parts.flatMap((part) => (part.isStringLiteral() ? [part.value] : []));
}

/** @param {Type | undefined} type */
function canBeAnyKey(type) {
    return keys.every((key) => strings(type).includes(key));
}

/** The calls of a function, by its name. @param {string} name */
function callsOf(name) {
    return nodes.filter(ts.isCallExpression).filter(({ expression }) => {
        const called = ts.isPropertyAccessExpression(expression) ? expression.name : expression;
        return ts.isIdentifier(called) && called.text === name;
    });
}

/** @param {Expression | undefined} name */
function isShown(name) {
    return name !== undefined && ts.isStringLiteralLike(name) && shownAttributes.has(name.text);
}

/** What is given to attributes that are shown. @param {Expression | undefined} attributes */
function attributesIn(attributes) {
    if (!attributes || !ts.isObjectLiteralExpression(attributes)) return [];
    return attributes.properties
        .filter(ts.isPropertyAssignment)
        .filter(({ name }) => shownAttributes.has(/** @type {any} */ (name).text))
        .map(({ initializer }) => initializer);
}

/**
 * The words that stand in an expression or that its type allows; what other functions make of words is theirs.
 * @param {Expression | undefined} expression
 * @returns {string[]}
 */
function wordsIn(expression) {
    if (!expression || ts.isCallExpression(expression)) return [];
    if (ts.isTemplateExpression(expression)) {
        const { head, templateSpans } = expression;
        return [head.text, ...templateSpans.flatMap((span) => [span.literal.text, ...wordsIn(span.expression)])].filter(isWord);
    }
    if (ts.isConditionalExpression(expression)) return [expression.whenTrue, expression.whenFalse].flatMap(wordsIn);
    if (ts.isBinaryExpression(expression)) return [expression.left, expression.right].flatMap(wordsIn);
    return strings(checker.getTypeAtLocation(expression)).filter(isWord);
}

/** Whether a string has letters and is not the program's name. @param {string} string */
function isWord(string) {
    return /\p{L}/u.test(string) && string !== 'tavo';
}

/** @param {Node} node */
function placeOf(node) {
    const file = node.getSourceFile();
    return `${file.fileName.split('/').pop()}:${file.getLineAndCharacterOfPosition(node.getStart()).line + 1}`;
}

test('the code uses every text', () => {
    const types = callsOf('text').map(({ arguments: [key] }) => checker.getTypeAtLocation(key));
    const given = types.filter((type) => !canBeAnyKey(type)).flatMap(strings);
    // Where a variable can hold any key, the literals count that are put into it.
    const stored = nodes.filter(ts.isStringLiteral).filter((literal) => canBeAnyKey(checker.getContextualType(literal)));
    const used = new Set([...given, ...stored.map((literal) => literal.text)]);
    assert.deepEqual(keys.filter((key) => !used.has(key)), []);
});

test('what people read stands in the languages, not in the code', () => {
    const given = Object.entries(shownArguments).flatMap(([name, shown]) => {
        const calls = callsOf(name);
        assert(calls.length > 0, name);
        return calls.flatMap((call) => shown([...call.arguments]));
    });
    const labels = nodes.filter(ts.isPropertyAssignment).filter(({ name }) => name.getText() === 'label');
    const shown = [...given, ...labels.map(({ initializer }) => initializer)];
    const untranslated = shown.flatMap((expression) => wordsIn(expression).map((words) => `${placeOf(expression)}: ${words}`));
    assert.deepEqual(untranslated, []);
});

test('a name in a text keeps its direction to itself', () => {
    const bare = callsOf('text').flatMap(({ arguments: [, values] }) => {
        const properties = values && ts.isObjectLiteralExpression(values) ? [...values.properties] : [];
        const named = properties.filter((property) => names.has(/** @type {any} */ (property.name)?.text));
        return named.filter((property) => !/: isolated\(/.test(property.getText())).map((property) => `${placeOf(property)}: ${property.getText()}`);
    });
    assert.deepEqual(bare, []);
});
