#version 120
// Exposure coloration: passes the texture coordinate.
varying vec2 center;

void main() {
    center = gl_MultiTexCoord0.xy;
    gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex;
}
