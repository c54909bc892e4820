import js from '@eslint/js';
import globals from 'globals';

/** Run from the project's folder, so that it covers the scripts of the tests and the benchmark, too. */
const style = {
    ...js.configs.recommended.rules,
    'curly': ['error', 'multi-line'],
    'eqeqeq': 'error',
    'no-implicit-globals': 'error',
    'no-shadow': 'error',
    'no-unused-vars': ['error', { args: 'all', argsIgnorePattern: '^_' }],
    'no-var': 'error',
    'object-shorthand': 'error',
    'prefer-const': 'error',
    'max-lines-per-function': ['error', { max: 60, skipBlankLines: true, skipComments: true }],
};

export default [
    // The page: nothing that turns text into markup or code.
    {
        files: ['web/app/**/*.js'],
        languageOptions: { globals: globals.browser },
        rules: {
            ...style,
            'no-eval': 'error',
            'no-implied-eval': 'error',
            'no-restricted-properties': [
                'error',
                ...['innerHTML', 'outerHTML', 'insertAdjacentHTML', 'write'].map((property) => ({ property })),
            ],
        },
    },
    {
        files: ['web/*.js', 'tests/web/**/*.js', 'bench/**/*.js'],
        languageOptions: { globals: { ...globals.node, ...globals.browser } },
        rules: { ...style, 'max-lines-per-function': 'off' },
    },
];
