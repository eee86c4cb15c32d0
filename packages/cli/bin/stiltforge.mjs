#!/usr/bin/env node
// Stands outside dist/, which is built after npm install: npm links no command without a file.
import '../dist/main.js';
