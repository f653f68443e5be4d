#version 120
// Unpacking: the output position, and the output column it falls in.
uniform vec4 outputSize;

varying vec2 centerOut;
varying vec2 center;

void main() {
    centerOut = gl_MultiTexCoord0.xy;
    center = centerOut * outputSize.xy;
    center.x = floor(center.x);
    gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex;
}
