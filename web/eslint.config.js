import js from '@eslint/js';
import globals from 'globals';

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
        files: ['app/**/*.js'],
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
        files: ['*.js'],
        languageOptions: { globals: globals.node },
        rules: style,
    },
];
